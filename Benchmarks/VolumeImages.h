// NTFS images for the benchmark, each plain and encrypted, made with the system's own programs
// in the benchmark's folder, which removes them.
#pragma once

#include <string>

#include "BenchData.h"

class VolumeImages {
public:
    // programs: the folder with make-bitlocker-volume.
    VolumeImages(BenchData &data, std::string programs);

    static constexpr const char *kPassword = "benchmark";

    // Why no image can be made on this machine; empty: it can.
    std::string WhyNone() const;

    struct Pair {
        std::string plain;
        std::string encrypted;
        std::string key;  // the startup key of the encrypted one
        bool Made() const { return !plain.empty(); }
    };
    // Each makes its images at the first call.
    Pair OneGibibyte() const;  // BenchData's file of 1 GiB
    Pair OneGibibyteOfText() const;
    Pair ManySmallFiles() const;  // BenchData's tree of small files

private:
    Pair Make(const std::string &name, const std::string &size, const std::string &from,
              const std::string &fill) const;

    BenchData &_data;
    const std::string _programs;
};
