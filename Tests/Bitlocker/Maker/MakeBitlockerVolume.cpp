// make-bitlocker-volume PLAIN OUT [--method NAME] [--password TEXT] [--recovery DIGITS]
//                       [--layout NAME]
//
// Encrypts a plain volume image; for tests and samples, since its keys are made up from a fixed
// seed. OUT is somewhat longer than PLAIN.
#include "VolumeMaker.h"

#include "Bitlocker/FileByteSource.h"

#include <cstdio>
#include <exception>
#include <map>

using namespace vx::bitlocker;
using namespace vx::bitlocker::maker;

namespace {

const std::map<std::string, Method> kMethods = {
    {"xts128", Method::Aes128Xts},           {"xts256", Method::Aes256Xts},
    {"cbc128", Method::Aes128Cbc},           {"cbc256", Method::Aes256Cbc},
    {"elephant128", Method::Aes128Elephant}, {"elephant256", Method::Aes256Elephant},
};

const std::map<std::string, Layout> kLayouts = {
    {"vista", Layout::Vista},
    {"windows7", Layout::Windows7},
    {"togo", Layout::ToGo},
};

int usage()
{
    std::fputs("usage: make-bitlocker-volume PLAIN OUT [--method xts128|xts256|cbc128|cbc256|"
               "elephant128|elephant256]\n"
               "           [--layout windows7|vista|togo] [--password TEXT] [--recovery DIGITS]\n",
               stderr);
    return 2;
}

bool takeOption(VolumeRecipe &recipe, const std::string &name, const std::string &value)
{
    if (name == "--method" && kMethods.count(value) != 0)
        recipe.method = kMethods.at(value);
    else if (name == "--layout" && kLayouts.count(value) != 0)
        recipe.layout = kLayouts.at(value);
    else if (name == "--password")
        recipe.protectors.push_back(ProtectorRecipe::password(value));
    else if (name == "--recovery")
        recipe.protectors.push_back(ProtectorRecipe::recovery(value));
    else
        return false;
    return true;
}

}  // namespace

int main(int argc, char **argv)
{
    VolumeRecipe recipe;
    if (argc < 5 || argc % 2 == 0)
        return usage();
    for (int at = 3; at < argc; at += 2)
        if (!takeOption(recipe, argv[at], argv[at + 1]))
            return usage();
    if (recipe.protectors.empty())
        return usage();
    Result<std::unique_ptr<FileByteSource>> plain = FileByteSource::open(argv[1]);
    if (!plain) {
        std::fprintf(stderr, "%s\n", describe(plain.error()).c_str());
        return 1;
    }
    try {
        FileSink sink(argv[2]);
        VolumeMaker(recipe).make(**plain, sink);
    } catch (const std::exception &error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
