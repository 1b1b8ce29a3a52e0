#include "config/catalogue.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <unordered_set>

#include "support/list_pool.h"
#include "support/paths.h"

namespace lumadisc {

namespace {

int g_cdEntries = -1;
int g_imageDirs = -1;
int g_recentList = -1;

// Beside the lists, the keys they hold, so that a duplicate is found at once: a settings file with
// thousands of entries loads in linear time. Entry keys are the directory, a NUL and the file name.
std::unordered_set<std::string> g_entryKeys;
std::unordered_set<std::string> g_dirKeys;

std::string entryKey(const char* directory, const char* fileName) {
    return std::string(directory) + '\0' + fileName;
}

// The index the list's cursor stands on, so that walking a list in order steps the cursor on
// instead of counting from the head for every element.
struct CursorAt {
    int list = -1;
    int index = -1;
};
CursorAt g_cursor;

void freeEntry(void* element) {
    auto* entry = static_cast<CatalogueEntry*>(element);
    std::free(entry->fileName);
    std::free(entry->directory);
    std::free(entry);
}

// The element at index, or null outside 0..count-1 (the cursor would stop at the last node).
void* elementAt(int list, int index) {
    if (index < 0 || index >= listCount(list)) return nullptr;
    if (g_cursor.list == list && g_cursor.index + 1 == index && listCursorNext(list) == 0) {
        g_cursor.index = index;
    } else {
        listCursorTo(list, index);
        g_cursor = {list, index};
    }
    return listElement(list);
}

// A second init (the configuration program's run) starts over with fresh lists.
int createList(int* list, ListElementDestructor destructor) {
    g_cursor = {};
    listDestroy(list);
    *list = listCreate(destructor);
    return *list == -1 ? 1 : 0;
}

}  // namespace

int catalogueInit() {
    g_entryKeys.clear();
    g_dirKeys.clear();
    const int entries = createList(&g_cdEntries, freeEntry);
    const int dirs = createList(&g_imageDirs, nullptr);
    return entries != 0 || dirs != 0 ? 1 : 0;
}

void catalogueShutdown() {
    g_entryKeys.clear();
    g_dirKeys.clear();
    g_cursor = {};
    listDestroy(&g_cdEntries);
    listDestroy(&g_imageDirs);
}

void catalogueClear() {
    g_entryKeys.clear();
    g_dirKeys.clear();
    g_cursor = {};
    listClear(g_cdEntries);
    listClear(g_imageDirs);
}

void catalogueAddEntry(char* path) {
    if (path == nullptr || !listInUse(g_cdEntries) || listCount(g_cdEntries) >= kCatalogueMaxEntries) return;
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
    if (!g_entryKeys.insert(entryKey(directory, fileName)).second) {
        std::free(directory);
        std::free(fileName);
        std::free(entry);
        return;
    }
    entry->fileName = fileName;
    entry->directory = directory;
    listAppend(g_cdEntries, entry);
    g_cursor = {};  // an append may move the cursor
}

const CatalogueEntry* catalogueEntry(int index) {
    return static_cast<const CatalogueEntry*>(elementAt(g_cdEntries, index));
}

int catalogueEntryCount() {
    return listCount(g_cdEntries);
}

void catalogueAddDir(const char* directory) {
    if (directory == nullptr || !listInUse(g_imageDirs) || listCount(g_imageDirs) >= kCatalogueMaxEntries) return;
    const size_t capacity = std::strlen(directory) + 2;  // room for the backslash
    char* copy = static_cast<char*>(std::malloc(capacity));
    if (copy == nullptr) return;
    std::memcpy(copy, directory, capacity - 1);
    addTrailingBackslash(copy, capacity);
    if (!g_dirKeys.insert(copy).second) {
        std::free(copy);
        return;
    }
    listAppend(g_imageDirs, copy);
    g_cursor = {};
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
    g_cursor = {};
    listDestroy(&g_recentList);
}

void recentClear() {
    g_cursor = {};
    listClear(g_recentList);
}

void recentAdd(char* path) {
    if (path == nullptr) return;
    if (!listInUse(g_recentList) || listCount(g_recentList) >= kRecentMax) {
        std::free(path);
        return;
    }
    listAppend(g_recentList, path);
    g_cursor = {};
}

const char* recentItem(int index) {
    return static_cast<const char*>(elementAt(g_recentList, index));
}

int recentCount() {
    return listCount(g_recentList);
}

}  // namespace lumadisc
