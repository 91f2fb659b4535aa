// make-bitlocker-volume PLAIN OUT [--method NAME] [--password TEXT] [--recovery DIGITS]
//                       [--layout NAME] [--sector-size BYTES] [--startup-key FILE] [--clear-key]
//
// Encrypts a plain volume image; for tests and samples, since its keys are made up from a fixed
// seed. OUT is somewhat longer than PLAIN; FILE is made.
#include "MadeUpBytes.h"
#include "StartupKeyFileWriter.h"
#include "VolumeMaker.h"

#include "FileByteSource.h"

#include <cstdio>
#include <exception>
#include <map>

using namespace vx;
using namespace vx::bitlocker;
using namespace vx::bitlocker::maker;

namespace {

const std::map<std::string, Method> kMethods = {
    {"xts128", Method::kAes128Xts},           {"xts256", Method::kAes256Xts},
    {"cbc128", Method::kAes128Cbc},           {"cbc256", Method::kAes256Cbc},
    {"elephant128", Method::kAes128Elephant}, {"elephant256", Method::kAes256Elephant},
};

const std::map<std::string, Layout> kLayouts = {
    {"vista", Layout::kVista},
    {"windows7", Layout::kWindows7},
    {"togo", Layout::kToGo},
};

int Usage()
{
    std::fputs("usage: make-bitlocker-volume PLAIN OUT [--method xts128|xts256|cbc128|cbc256|"
               "elephant128|elephant256]\n"
               "           [--layout windows7|vista|togo] [--password TEXT] [--recovery DIGITS]\n"
               "           [--startup-key FILE] [--clear-key] [--sector-size 512|1024|2048|4096]\n"
               "           [--encrypted BYTES] [--sector-key FILE]\n",
               stderr);
    return 2;
}

const std::map<std::string, uint32_t> kSectorSizes = {
    {"512", 512}, {"1024", 1024}, {"2048", 2048}, {"4096", 4096}};

ProtectorRecipe StartupKeyIn(const std::string &path)
{
    const Guid protector = MadeUpBytes(1).GuidOf("startup key");
    FileSink(path).Write(0, MakeStartupKeyFile(protector));
    return ProtectorRecipe::StartupKey(protector);
}

// As hexadecimal digits; of AES-128-XTS.
void WriteSectorKey(const std::string &path)
{
    std::vector<uint8_t> text;
    for (const uint8_t byte : MadeUpBytes(VolumeRecipe().seed).Bytes("sector key", 32))
        for (const int digit : {byte >> 4, byte & 15})
            text.push_back(static_cast<uint8_t>("0123456789abcdef"[digit]));
    FileSink(path).Write(0, text);
}

bool TakeOption(VolumeRecipe &recipe, const std::string &name, const std::string &value)
{
    if (name == "--method" && kMethods.count(value) != 0)
        recipe.method = kMethods.at(value);
    else if (name == "--layout" && kLayouts.count(value) != 0)
        recipe.layout = kLayouts.at(value);
    else if (name == "--password")
        recipe.protectors.push_back(ProtectorRecipe::Password(value));
    else if (name == "--recovery")
        recipe.protectors.push_back(ProtectorRecipe::Recovery(value));
    else if (name == "--startup-key")
        recipe.protectors.push_back(StartupKeyIn(value));
    else if (name == "--encrypted")
        recipe.encryptedSize = std::stoull(value);
    else if (name == "--sector-key")
        WriteSectorKey(value);
    else if (name == "--sector-size" && kSectorSizes.count(value) != 0)
        recipe.sectorSize = kSectorSizes.at(value);
    else
        return false;
    return true;
}

bool TakeOptions(VolumeRecipe &recipe, const std::vector<std::string> &words)
{
    for (size_t at = 0; at < words.size(); ++at) {
        if (words[at] == "--clear-key")
            recipe.protectors.push_back(ProtectorRecipe::ClearKey());
        else if (at + 1 == words.size() || !TakeOption(recipe, words[at], words[at + 1]))
            return false;
        else
            ++at;
    }
    return !recipe.protectors.empty();
}

}  // namespace

int main(int argc, char **argv)
try {
    VolumeRecipe recipe;
    if (argc < 3 || !TakeOptions(recipe, {argv + 3, argv + argc}))
        return Usage();
    Result<std::unique_ptr<FileByteSource>> plain = FileByteSource::Open(argv[1]);
    if (!plain) {
        std::fprintf(stderr, "%s\n", plain.Failure().detail.c_str());
        return 1;
    }
    FileSink sink(argv[2]);
    VolumeMaker(recipe).Make(**plain, sink);
    return 0;
} catch (const std::exception &error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
