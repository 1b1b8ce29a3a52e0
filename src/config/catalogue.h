// The disc entries, image directories and recently used paths that the settings file stores.
#pragma once

namespace lumadisc {

constexpr int kRecentMax = 21;
// The most disc entries, and image directories, the catalogue keeps; later ones are dropped.
constexpr int kCatalogueMaxEntries = 65536;

struct CatalogueEntry {
    char* fileName;   // after the last backslash (the whole path when there is none)
    char* directory;  // up to and including the last backslash; empty when there is none
};

int catalogueInit();
void catalogueShutdown();
void catalogueClear();
// Drops one trailing backslash of path (in place), splits it and appends it unless present.
void catalogueAddEntry(char* path);
const CatalogueEntry* catalogueEntry(int index);
int catalogueEntryCount();
void catalogueAddDir(const char* directory);
const char* catalogueDir(int index);
int catalogueDirCount();

int recentInit();
void recentShutdown();
void recentClear();
// Takes over a malloc'd path; dropped (freed) when the list is full.
void recentAdd(char* path);
const char* recentItem(int index);
int recentCount();

}  // namespace lumadisc
