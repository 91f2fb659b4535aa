// Encrypted images through the program: each way of unlocking brings the files that are inside.
#include "EncryptedFixture.h"

#include <sys/stat.h>

namespace vx {
namespace {

class Encrypted : public EncryptedTest {
protected:
    void SetUp() override
    {
        EncryptedTest::SetUp();
        if (IsSkipped())
            return;
        _folder.WriteFile("volume/Reports/2019.txt", "a report");
        _folder.WriteFile("volume/large.bin", std::string(3000001, 'x'));
        _folder.WriteFile("volume/Отчёт.txt", "отчёт");
    }

    void ExpectExport(const Arguments &unlock)
    {
        Arguments arguments = {_image, "--verify", "--to", _destination};
        arguments.insert(arguments.end(), unlock.begin(), unlock.end());
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, 0) << result.errors;
        EXPECT_TRUE(FilesBelow(_destination) == FilesBelow(_volume));
    }

    Result ListWithKey(const ToolRun::Settings &settings = {})
    {
        return Run({"--list", _image, "--unlock", "startup-key", _key}, settings);
    }

    const std::string _key = _folder.At("k.BEK");
    const std::string _report = _folder.At("report");
};

TEST_F(Encrypted, AStartupKeyBringsTheFiles)
{
    MakeImage(8);
    Encrypt("--password other --startup-key '" + _key + "'");
    ExpectExport({"--unlock", "startup-key", _key});
}

TEST_F(Encrypted, AVolumeWithAClearKeyBringsTheFilesWithoutASecret)
{
    MakeImage(8);
    Encrypt("--password other --clear-key");
    ExpectExport({});
}

TEST_F(Encrypted, SectorsOf4096BytesBringTheFiles)
{
    MakeImage(32, "-S 4096");
    Encrypt("--sector-size 4096 --password correct");
    ExpectExport({"--unlock", "password", "correct"});
}

// Nothing of known contents is encrypted here, and so nothing shows a wrong key to be wrong.
TEST_F(Encrypted, AKeyOfSectorsThatNothingProvesBringsTheFilesAndIsNoSuccess)
{
    MakeImage(8, "-f 1");
    const std::string sectorKey = _folder.At("fvek");
    Encrypt("--password other --encrypted 9216 --sector-key '" + sectorKey + "'");
    const Result result =
        Run({_image, "--to", _destination, "--unlock", "fvek", sectorKey, "--report", _report});
    EXPECT_EQ(result.status, 1) << result.errors;
    EXPECT_NE(result.output.find("Failed: 1\n  nothing shows that the key of the sectors is the "
                                 "one of this volume"),
              std::string::npos)
        << result.output;
    EXPECT_NE(_folder.ReadFile("report").find("nothing shows that the key"), std::string::npos);
    EXPECT_TRUE(FilesBelow(_destination) == FilesBelow(_volume));
}

TEST_F(Encrypted, AMissingStartupKeyFileIsNamedBeforeTheReason)
{
    MakeImage(8);
    Encrypt("--password correct");
    const Result result = ListWithKey();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "volume-export: cannot open " + _image + ": the startup key file " +
                                 _key + ": there is nothing at this path (status 3)\n");
}

TEST_F(Encrypted, AStartupKeyFileThatIsAFifoIsNotWaitedFor)
{
    MakeImage(8);
    Encrypt("--password correct");
    ASSERT_EQ(mkfifo(_key.c_str(), 0600), 0);
    const Result result = ListWithKey();
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "volume-export: cannot open " + _image + ": the startup key file " +
                                 _key + ": it could not be read (status 6)\n");
}

TEST_F(Encrypted, AStartupKeyFileThatMayNotBeReadIsNamedBeforeTheReason)
{
    MakeImage(8);
    Encrypt("--startup-key '" + _key + "'");
    ASSERT_EQ(chmod(_folder.Path().c_str(), 0755), 0);
    ASSERT_EQ(chmod(_image.c_str(), 0644), 0);
    ASSERT_EQ(chmod(_key.c_str(), 0000), 0);
    ToolRun::Settings settings;
    settings.withoutPrivileges = true;
    const Result result = ListWithKey(settings);
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.errors, "volume-export: cannot open " + _image + ": the startup key file " +
                                 _key + ": no permission to read it (status 5)\n");
}

}  // namespace
}  // namespace vx
