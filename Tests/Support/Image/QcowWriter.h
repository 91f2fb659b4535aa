// Writes small QCOW2 images for tests, sound or damaged: header, table and block of reference
// counts, L1 table, L2 tables and clusters, one after the other.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vx {

struct QcowRecipe {
    uint32_t version = 3;
    uint32_t clusterBits = 12;
    uint64_t diskBytes = 0;  // 0: of all clusters
    uint32_t cryptMethod = 0;
    uint64_t features = 0;  // those that follow from the rest are added
    bool isZstd = false;
    bool hasSubclusters = false;
    bool hasDataFile = false;
    std::string dataFile = {};
    std::string backingFile = {};
    std::string backingFormat = {};
    std::string extensions = {};  // further ones, as they are stored
    uint32_t headerLength = 112;
    uint32_t refcountOrder = 4;
};

class QcowWriter {
public:
    static constexpr uint64_t kOnlyOnce = uint64_t{1} << 63;
    static constexpr uint64_t kPacked = uint64_t{1} << 62;

    explicit QcowWriter(QcowRecipe recipe) : _recipe(std::move(recipe)) {}

    // The next cluster of the disk.
    void AddStored(const std::string &bytes) { AddParts(bytes, 0xFFFFFFFF); }
    void AddParts(const std::string &bytes, uint64_t bits);  // bits: of its subclusters
    void AddPacked(const std::string &bytes);
    void AddZeros();
    void AddNothing() { _clusters.push_back({}); }
    // Replaces an entry of a table, as it is stored.
    void SetEntry(uint64_t cluster, uint64_t value) { _entries[cluster] = value; }
    void SetL1Entry(uint64_t number, uint64_t value) { _l1Entries[number] = value; }

    std::string Image() const;
    // What the clusters hold that are not packed, if they lie in a file of their own.
    std::string DataFile() const;

    // Places in the image.
    size_t ClusterBytes() const { return size_t{1} << _recipe.clusterBits; }
    size_t RefcountTableAt() const { return ClusterBytes(); }
    size_t RefcountBlockAt() const { return 2 * ClusterBytes(); }
    size_t L1At() const { return 3 * ClusterBytes(); }
    size_t L2At(size_t number = 0) const { return (3 + L1Clusters() + number) * ClusterBytes(); }
    size_t ClustersAt() const { return L2At(L2Tables()); }

    static std::string Number(uint64_t value, size_t bytes);
    static std::string Extension(uint32_t type, const std::string &bytes);

private:
    enum class Kind { kNothing, kZeros, kStored, kPacked };

    struct Cluster {
        Kind kind = Kind::kNothing;
        std::string bytes = {};
        uint64_t bits = 0;
    };

    size_t L2Entries() const { return ClusterBytes() / (_recipe.hasSubclusters ? 16 : 8); }
    size_t L2Tables() const { return (_clusters.size() + L2Entries() - 1) / L2Entries(); }
    size_t L1Clusters() const { return L2Tables() * 8 / ClusterBytes() + 1; }
    std::string Header() const;
    std::string Extensions() const;
    std::string Packed(const std::string &bytes) const;
    uint64_t PackedEntry(uint64_t place, uint64_t bytes) const;

    const QcowRecipe _recipe;
    std::vector<Cluster> _clusters;
    std::map<uint64_t, uint64_t> _entries;
    std::map<uint64_t, uint64_t> _l1Entries;
};

}  // namespace vx
