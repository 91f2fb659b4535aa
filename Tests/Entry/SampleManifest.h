// What a volume that Windows encrypted contains, by the list beside the image.
#pragma once

#include "TestImage.h"

namespace vx {

// Left out are streams with names, labels, deleted entries and the file system's own files.
struct SampleManifest {
    // SHA-256 in hexadecimal digits by the paths, without "/" in front, UTF-8.
    TestTree files;

    // name: of the image, without ".img". Empty if there is no such list.
    static SampleManifest Read(const std::string &name);
    // "NAME.manifest.tsv", beside the images
    static std::string FileOf(const std::string &name);

    // The name of a test of one image, in letters that may stand there.
    static std::string NameOfTest(const testing::TestParamInfo<const char *> &tested);

    // The program that listed the FAT volume has cut one name; takes the whole one from found.
    void MendCutNames(const TestTree &found);
};

}  // namespace vx
