#include "tools/lumadisc/iso9660_walker.h"

#include <cctype>
#include <cstdio>
#include <cstring>

#include "src/disc/cd_utility.h"

namespace lumadisc::tool {

namespace {

constexpr uint32_t kMaxDescriptors = 32;
constexpr uint32_t kMaxDirectoryBlocks = 1024;
constexpr int kMaxDepth = 16;
constexpr uint32_t kRecordMinimum = 34;
constexpr size_t kRootRecordOffset = 156;

IsoEntry entryFromRecord(const uint8_t* record, size_t nameLength) {
    IsoEntry entry;
    entry.name = isoText(record + 33, nameLength);
    entry.extent = readLe32(record + 2);
    entry.size = readLe32(record + 10);
    entry.directory = (record[25] & 0x02) != 0;
    return entry;
}

std::string upper(std::string text) {
    for (char& c : text) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

}  // namespace

std::string isoText(const uint8_t* bytes, size_t size) {
    while (size > 0 && (bytes[size - 1] == ' ' || bytes[size - 1] == 0)) --size;
    std::string text;
    for (size_t i = 0; i < size; ++i) text += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '?';
    return text;
}

bool parsePrimaryDescriptor(const uint8_t* block, IsoVolume* volume) {
    if (block[0] != 1 || std::memcmp(block + 1, "CD001", 5) != 0) return false;
    volume->system = isoText(block + 8, 32);
    volume->volume = isoText(block + 40, 32);
    volume->blocks = readLe32(block + 80);
    volume->root = entryFromRecord(block + kRootRecordOffset, 1);  // its one-byte name is 0x00: ""
    volume->root.directory = true;
    return true;
}

bool parseDirectoryBlock(const uint8_t* block, std::vector<IsoEntry>* entries, std::string* error) {
    for (uint32_t offset = 0; offset < kIsoBlockSize;) {
        const uint8_t* record = block + offset;
        const uint32_t length = record[0];
        if (length == 0) break;  // records do not cross a block: the rest is padding
        const uint32_t nameLength = length >= kRecordMinimum ? record[32] : 0;
        if (length < kRecordMinimum || offset + length > kIsoBlockSize || 33 + nameLength > length) {
            *error = "damaged directory record at byte " + std::to_string(offset);
            return false;
        }
        offset += length;
        if (nameLength == 1 && record[33] <= 1) continue;  // "." and ".."
        entries->push_back(entryFromRecord(record, nameLength));
    }
    return true;
}

const IsoEntry* findIsoEntry(const std::vector<IsoEntry>& entries, const std::string& name) {
    const std::string wanted = upper(name);
    for (const IsoEntry& entry : entries) {
        const std::string have = upper(entry.name);
        if (have == wanted || have.substr(0, have.find(';')) == wanted.substr(0, wanted.find(';'))) return &entry;
    }
    return nullptr;
}

bool IsoWalker::findVolume(IsoVolume* volume) {
    uint8_t block[kIsoBlockSize];
    for (uint32_t number = kIsoFirstDescriptor; number < kIsoFirstDescriptor + kMaxDescriptors; ++number) {
        if (!reader_(number, block, &error_)) return false;
        if (std::memcmp(block + 1, "CD001", 5) != 0) break;
        if (parsePrimaryDescriptor(block, volume)) return true;
        if (block[0] == 255) break;  // the set terminator
    }
    error_ = "no ISO 9660 volume on the first data track (no primary volume descriptor from block 16 on)";
    return false;
}

void IsoWalker::warn(const std::string& message) { std::fprintf(stderr, "lumadisc: %s\n", message.c_str()); }

bool IsoWalker::walk(const std::string& path, const IsoEntry& directory, const Visitor& visit, int depth) {
    visited_.insert(directory.extent);
    bool complete = true;
    uint32_t blocks = directory.size / kIsoBlockSize + (directory.size % kIsoBlockSize ? 1 : 0);
    if (blocks > kMaxDirectoryBlocks) {
        warn(path + ": directory of " + std::to_string(blocks) + " blocks, only the first " +
             std::to_string(kMaxDirectoryBlocks) + " are listed");
        blocks = kMaxDirectoryBlocks;
        complete = false;
    }
    for (uint32_t b = 0; b < blocks; ++b) {
        const uint64_t number = static_cast<uint64_t>(directory.extent) + b;
        uint8_t block[kIsoBlockSize];
        if (number > UINT32_MAX) error_ = "block " + std::to_string(number) + " lies beyond the disc";
        if (number > UINT32_MAX || !reader_(static_cast<uint32_t>(number), block, &error_)) {
            warn(path + ": " + error_);
            return false;
        }
        std::vector<IsoEntry> entries;
        std::string damage;
        const bool whole = parseDirectoryBlock(block, &entries, &damage);
        for (const IsoEntry& entry : entries) {
            const std::string entryPath = path + entry.name + (entry.directory ? "/" : "");
            visit(entryPath, entry);
            if (!entry.directory) continue;
            if (visited_.count(entry.extent) != 0) {
                warn(entryPath + ": extent " + std::to_string(entry.extent) + " is listed already, not followed");
                complete = false;
            } else if (depth + 1 > kMaxDepth) {
                warn(entryPath + ": deeper than " + std::to_string(kMaxDepth) + " levels, not followed");
                complete = false;
            } else {
                complete = walk(entryPath, entry, visit, depth + 1) && complete;
            }
        }
        if (!whole) {
            warn(path + ": " + damage + " of block " + std::to_string(number));
            return false;
        }
    }
    return complete;
}

}  // namespace lumadisc::tool
