#include "config/catalogue.h"

#include <cstdlib>
#include <cstring>

#include "support/list_pool.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

int g_cdEntries = -1;
int g_imageDirs = -1;
int g_recentList = -1;

void freeEntry(void* element) {
    auto* entry = static_cast<CatalogueEntry*>(element);
    std::free(entry->fileName);
    std::free(entry->directory);
    std::free(entry);
}

// The element at index, or null outside 0..count-1 (the cursor would stop at the last node).
void* elementAt(int list, int index) {
    if (index < 0 || index >= listCount(list)) return nullptr;
    listCursorTo(list, index);
    return listElement(list);
}

bool entryExists(const char* fileName, const char* directory) {
    const int count = listCount(g_cdEntries);
    for (int i = 0; i < count; ++i) {
        const auto* entry = static_cast<const CatalogueEntry*>(elementAt(g_cdEntries, i));
        if (std::strcmp(entry->fileName, fileName) == 0 && std::strcmp(entry->directory, directory) == 0) {
            return true;
        }
    }
    return false;
}

bool dirExists(const char* directory) {
    const int count = listCount(g_imageDirs);
    for (int i = 0; i < count; ++i) {
        if (std::strcmp(static_cast<const char*>(elementAt(g_imageDirs, i)), directory) == 0) return true;
    }
    return false;
}

// A second init (the configuration program's run) starts over with fresh lists.
int createList(int* list, ListElementDestructor destructor) {
    listDestroy(list);
    *list = listCreate(destructor);
    return *list == -1 ? 1 : 0;
}

}  // namespace

int catalogueInit() {
    const int entries = createList(&g_cdEntries, freeEntry);
    const int dirs = createList(&g_imageDirs, nullptr);
    return entries != 0 || dirs != 0 ? 1 : 0;
}

void catalogueShutdown() {
    listDestroy(&g_cdEntries);
    listDestroy(&g_imageDirs);
}

void catalogueClear() {
    listClear(g_cdEntries);
    listClear(g_imageDirs);
}

void catalogueAddEntry(char* path) {
    if (path == nullptr || !listInUse(g_cdEntries)) return;
    dropTrailingBackslash(path);
    char* directory = strdup(path);
    char* fileName = strdup(path);
    auto* entry = static_cast<CatalogueEntry*>(std::malloc(sizeof(CatalogueEntry)));
    if (directory == nullptr || fileName == nullptr || entry == nullptr) {
        std::free(directory);
        std::free(fileName);
        std::free(entry);
        return;
    }
    cutToDirectory(directory);
    cutToFileName(fileName);
    if (entryExists(fileName, directory)) {
        std::free(directory);
        std::free(fileName);
        std::free(entry);
        return;
    }
    entry->fileName = fileName;
    entry->directory = directory;
    listAppend(g_cdEntries, entry);
}

const CatalogueEntry* catalogueEntry(int index) {
    return static_cast<const CatalogueEntry*>(elementAt(g_cdEntries, index));
}

int catalogueEntryCount() {
    return listCount(g_cdEntries);
}

void catalogueAddDir(const char* directory) {
    if (directory == nullptr || !listInUse(g_imageDirs)) return;
    const size_t capacity = std::strlen(directory) + 2;  // room for the backslash
    char* copy = static_cast<char*>(std::malloc(capacity));
    if (copy == nullptr) return;
    std::memcpy(copy, directory, capacity - 1);
    addTrailingBackslash(copy, capacity);
    if (dirExists(copy)) {
        std::free(copy);
        return;
    }
    listAppend(g_imageDirs, copy);
}

const char* catalogueDir(int index) {
    return static_cast<const char*>(elementAt(g_imageDirs, index));
}

int catalogueDirCount() {
    return listCount(g_imageDirs);
}

int recentInit() {
    return createList(&g_recentList, nullptr);
}

void recentShutdown() {
    listDestroy(&g_recentList);
}

void recentClear() {
    listClear(g_recentList);
}

void recentAdd(char* path) {
    if (path == nullptr) return;
    if (!listInUse(g_recentList) || listCount(g_recentList) >= kRecentMax) {
        std::free(path);
        return;
    }
    listAppend(g_recentList, path);
}

const char* recentItem(int index) {
    return static_cast<const char*>(elementAt(g_recentList, index));
}

int recentCount() {
    return listCount(g_recentList);
}

}  // namespace lumadisc
