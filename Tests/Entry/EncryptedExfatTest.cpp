// An encrypted exFAT volume with files and folders in it, listed and read whole.
#include "ExfatImage.h"
#include "TestImage.h"

namespace vx {
namespace {

class EncryptedExfat : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.exfat");
        ASSERT_TRUE(image.MakeExfat(16));
        exfat = std::make_unique<ExfatImage>(image.Folder().ReadFile("image"));
        next = 100;
        Fill();
        image.Folder().WriteFile("image", exfat->Text());
    }

    uint32_t ClustersOf(size_t bytes) const
    {
        return static_cast<uint32_t>((bytes + exfat->clusterBytes - 1) / exfat->clusterBytes);
    }

    // A folder of one cluster, which is returned.
    uint32_t AddFolder(uint32_t in, const std::u16string &name)
    {
        const uint32_t cluster = next++;
        exfat->Add(in, {name, 0x10, true, cluster, exfat->clusterBytes, exfat->clusterBytes});
        return cluster;
    }

    void AddFile(uint32_t in, const std::u16string &name, const std::string &path,
                 const std::string &contents)
    {
        const uint32_t first = contents.empty() ? 0 : next;
        exfat->Add(in, {name, 0x20, true, first, contents.size(), contents.size()});
        if (!contents.empty())
            exfat->Write(first, contents);
        next += ClustersOf(contents.size());
        tree.emplace(path, contents);
    }

    // Every second cluster, in reverse order.
    void AddFileInPieces(uint32_t in, const std::u16string &name, const std::string &path,
                         const std::string &contents)
    {
        std::vector<uint32_t> clusters;
        const uint32_t count = ClustersOf(contents.size());
        for (uint32_t i = 0; i < count; ++i)
            clusters.push_back(next + 2 * (count - i));
        next += 2 * count + 2;
        for (uint32_t i = 0; i < count; ++i)
            exfat->Write(clusters[i],
                         contents.substr(i * exfat->clusterBytes, exfat->clusterBytes));
        exfat->Chain(clusters);
        exfat->Add(in, {name, 0x20, false, clusters[0], contents.size(), contents.size()});
        tree.emplace(path, contents);
    }

    void Fill()
    {
        const size_t cluster = exfat->clusterBytes;
        AddFile(exfat->root, u"empty", "empty", "");
        AddFile(exfat->root, u"one", "one", "1");
        AddFile(exfat->root, u"a cluster", "a cluster", NoiseBytes(cluster, 2));
        AddFile(exfat->root, u"large", "large", NoiseBytes(3000000, 3));
        AddFileInPieces(exfat->root, u"in pieces", "in pieces", NoiseBytes(20 * cluster + 7, 4));
        const uint32_t outer = AddFolder(exfat->root, u"Отчёт");
        AddFile(outer, u"日本語 テスト", "Отчёт/日本語 テスト", NoiseBytes(12345, 5));
        const uint32_t inner = AddFolder(outer, u"inner");
        AddFile(inner, u"a name of so many letters that it needs several entries",
                "Отчёт/inner/a name of so many letters that it needs several entries", "long");
        AddFolder(inner, u"nothing");
        tree.emplace("Отчёт/inner/nothing/", "");
    }

    void ExpectTree(const char *kind, const char *secret)
    {
        const Opened opened = OpenImage(image.Path(), kind, secret);
        ASSERT_EQ(opened.status, VolumeLibraryStatus::kSuccess) << opened.detail;
        EXPECT_EQ(opened.detail, "");
        ExpectSameTree(ReadTree(*opened.volume), tree);
    }

    const TestImage image{};
    std::unique_ptr<ExfatImage> exfat;
    uint32_t next = 0;  // the first cluster that nothing has taken
    TestTree tree;
};

TEST_F(EncryptedExfat, ReadsWholeWhileItIsNotEncrypted)
{
    ExpectTree("none", "");
}

TEST_F(EncryptedExfat, ReadsWholeWithItsPasswordByEachMethod)
{
    const std::string plain = image.Folder().ReadFile("image");
    for (const char *method : {"xts128", "xts256", "cbc128", "cbc256", "elephant128"}) {
        SCOPED_TRACE(method);
        image.Folder().WriteFile("image", plain);
        ASSERT_TRUE(image.Encrypt(std::string("--password correct --method ") + method));
        ExpectTree("password", "correct");
    }
}

TEST_F(EncryptedExfat, ReadsWholeWithItsRecoveryPassword)
{
    constexpr const char *kRecovery = "000011-000022-000033-000044-000055-000066-000077-000088";
    ASSERT_TRUE(image.Encrypt(std::string("--recovery ") + kRecovery));
    ExpectTree("recovery", kRecovery);
}

TEST_F(EncryptedExfat, IsExportedWhole)
{
    ASSERT_TRUE(image.Encrypt("--password correct"));
    ASSERT_TRUE(RunShell(VX_TOOL " --verify --to " + Quoted(image.At("out")) + " " +
                         Quoted(image.Path()) + " --unlock password correct"));
    for (const auto &[path, contents] : tree) {
        if (path.back() != '/')
            EXPECT_TRUE(image.Folder().ReadFile("out/" + path) == contents) << path;
    }
}

}  // namespace
}  // namespace vx
