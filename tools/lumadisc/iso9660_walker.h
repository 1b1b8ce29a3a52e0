// The ISO 9660 file system as the tool's commands read it through the plugin: the primary volume
// descriptor, directory records and a bounded walk of the tree. Where the blocks come from (the classic
// exports or the emulated controller) is the caller's reader.
#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace lumadisc::tool {

constexpr uint32_t kIsoBlockSize = 2048;
constexpr uint32_t kIsoFirstDescriptor = 16;

struct IsoEntry {
    std::string name;  // as recorded, with its ";1" version
    uint32_t extent = 0;
    uint32_t size = 0;
    bool directory = false;
};

struct IsoVolume {
    std::string system;
    std::string volume;
    uint32_t blocks = 0;
    IsoEntry root;  // the root directory, with an empty name
};

// An identifier without its trailing blanks and NULs; bytes other than printable ASCII shown as '?'.
std::string isoText(const uint8_t* bytes, size_t size);
// True when the block is a primary volume descriptor; fills *volume from it.
bool parsePrimaryDescriptor(const uint8_t* block, IsoVolume* volume);
// Appends the records of one directory block ("." and ".." left out); false with *error naming the
// byte of the first damaged record.
bool parseDirectoryBlock(const uint8_t* block, std::vector<IsoEntry>* entries, std::string* error);
// The entry named `name` (any letter case, with or without its version), or null.
const IsoEntry* findIsoEntry(const std::vector<IsoEntry>& entries, const std::string& name);

// Walks a volume within fixed bounds (descriptor search, directory size, depth, no extent twice), so a
// damaged or hostile file system ends in a message, never in a hang.
class IsoWalker {
public:
    // Reads logical block `block` of the volume into 2048 bytes; false with *error on failure.
    using BlockReader = std::function<bool(uint32_t block, uint8_t* out, std::string* error)>;
    // Called for every entry met; `path` ends with '/' for a directory.
    using Visitor = std::function<void(const std::string& path, const IsoEntry& entry)>;

    explicit IsoWalker(BlockReader reader) : reader_(std::move(reader)) {}

    // Finds the primary volume descriptor from block 16 on.
    bool findVolume(IsoVolume* volume);
    // Visits the tree below `directory`, descending into subdirectories; false when something was
    // skipped or could not be read (each reason on standard error).
    bool walk(const std::string& path, const IsoEntry& directory, const Visitor& visit, int depth = 0);
    const std::string& error() const { return error_; }

private:
    void warn(const std::string& message);

    BlockReader reader_;
    std::set<uint32_t> visited_;
    std::string error_;
};

}  // namespace lumadisc::tool
