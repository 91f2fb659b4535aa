// An opened volume, for as long as the program runs.
//
// Ownership: owns the observer and the reports; the volume belongs to the volume library.
// Threads: opened on the main thread.
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DiskReading.h"
#include "ObservedVolume.h"
#include "VolumeReports.h"

namespace vx {

class VolumeSession {
public:
    VolumeSession() = default;
    ~VolumeSession() = default;
    VolumeSession(const VolumeSession &) = delete;
    VolumeSession &operator=(const VolumeSession &) = delete;

    // How the disk is read; called before Open.
    void SetReading(DiskReading reading) { _reading = std::move(reading); }
    const DiskReading &Reading() const { return _reading; }

    // The three texts go to the volume library. Called once. False: error says in one line what
    // is wrong: the library or its entry is missing, the status that came back and its meaning,
    // or a volume without a readable root.
    // A signal during the opening cancels it; see OpeningInterruption.
    bool Open(const std::string &volume, const std::string &unlockKind, const char *secret,
              std::string *error);

    // What was noticed when it was opened, and did not prevent it; one line each.
    const std::vector<std::string> &Warnings() const { return _warnings; }

    ObservedVolume &Volume() const { return *_volume; }
    const VolumeReports &Reports() const { return *_reports; }

private:
    // Takes what the library has opened, or says why it did not.
    bool Accept(void *library, const std::string &name, IVolume *opened, int32_t status,
                std::string *error);

    DiskReading _reading;
    std::vector<std::string> _warnings;
    std::unique_ptr<VolumeReports> _reports;
    std::unique_ptr<ObservedVolume> _volume;
};

}  // namespace vx
