#include "input/key_combo.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "input/input_devices.h"
#include "input/key_names.h"
#include "support/list_pool.h"

namespace lumadisc {

namespace {

int g_heldCombos = -1;
int g_newCombos = -1;

int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The field of `width` digits at `offset`; a field that ends early keeps the digits it has, one
// that starts past the end of the text or on a non-digit reads as 0.
uint32_t hexField(const char* text, size_t length, size_t offset, size_t width) {
    uint32_t value = 0;
    for (size_t i = offset; i < offset + width && i < length; ++i) {
        const int digit = hexDigit(text[i]);
        if (digit < 0) break;
        value = value * 16 + static_cast<uint32_t>(digit);
    }
    return value;
}

// Appends to a bounded buffer, cutting what does not fit.
void append(char* out, size_t size, size_t* used, const char* text) {
    const int written = std::snprintf(out + *used, size - *used, "%s", text);
    if (written > 0) *used += std::min(static_cast<size_t>(written), size - *used - 1);
}

void appendInputText(const KeyInput& input, char* out, size_t size, size_t* used) {
    const uint32_t family = (input.device >> 4) & 0xF;
    const uint32_t slot = input.device & 0xF;
    char part[48];
    if (family == kFamilyKeyboard) {
        std::snprintf(part, sizeof part, "Kb%u_", slot);
        append(out, size, used, part);
        const uint32_t mask = (input.code >> 8) & 0xFF;
        for (int bit = 0; bit < kModifierCount; ++bit) {
            if ((mask & (1u << bit)) == 0) continue;
            append(out, size, used, keyName(kModifierKeys[bit]));
            append(out, size, used, " + ");
        }
        append(out, size, used, keyName(input.code & 0xFF));
    } else if (family == kFamilyMouse || family == kFamilyJoystick) {
        std::snprintf(part, sizeof part, "%s%u_", family == kFamilyMouse ? "Ms" : "Js", slot);
        append(out, size, used, part);
        pointerInputName(family, input.code, part, sizeof part);
        append(out, size, used, part);
    } else {
        std::snprintf(part, sizeof part, "Dev%02X_?%u", input.device & 0xFF, input.code);
        append(out, size, used, part);
    }
}

bool inList(int list, const KeyCombo& combo, bool remove) {
    if (listCount(list) == 0) return false;
    listCursorFirst(list);
    do {
        const auto* held = static_cast<const KeyCombo*>(listElement(list));
        if (held != nullptr && comboEqual(*held, combo)) {
            if (remove) listRemove(list, true);
            return true;
        }
    } while (listCursorNext(list) == 0);
    return false;
}

}  // namespace

bool comboEqual(const KeyCombo& a, const KeyCombo& b) {
    if (a.count != b.count) return false;
    for (int i = 0; i < a.count && i < kComboInputs; ++i) {
        const KeyInput& x = a.inputs[i];
        const KeyInput& y = b.inputs[i];
        if (x.code != y.code || x.axis != y.axis || x.device != y.device) return false;
    }
    return true;
}

KeyCombo comboParse(const char* text) {
    KeyCombo combo{};
    if (text == nullptr) return combo;
    const size_t length = strnlen(text, 64);
    uint32_t count = hexField(text, length, 0, 2);
    if (count > kComboInputs) count = kComboInputs;
    combo.count = static_cast<int32_t>(count);
    for (uint32_t i = 0; i < count; ++i) {
        const size_t at = 2 + i * 8;
        combo.inputs[i].device = hexField(text, length, at, 2);
        combo.inputs[i].axis = hexField(text, length, at + 2, 2);
        combo.inputs[i].code = hexField(text, length, at + 4, 4);
    }
    return combo;
}

void comboFormat(const KeyCombo& combo, char* out, size_t size) {
    if (out == nullptr || size == 0) return;
    const int count = combo.count < 0 ? 0 : combo.count > kComboInputs ? kComboInputs : combo.count;
    size_t used = 0;
    char part[16];
    std::snprintf(part, sizeof part, "%.2x", count);
    append(out, size, &used, part);
    for (int i = 0; i < count; ++i) {
        const KeyInput& input = combo.inputs[i];
        std::snprintf(part, sizeof part, "%.2x%.2x%.4x", input.device & 0xFF, input.axis & 0xFF, input.code & 0xFFFF);
        append(out, size, &used, part);
    }
}

const char* comboText(const KeyCombo& combo) {
    static thread_local char text[512];
    text[0] = '\0';
    if (combo.count <= 0) {
        std::snprintf(text, sizeof text, "Unassigned");
        return text;
    }
    size_t used = 0;
    for (int i = 0; i < combo.count && i < kComboInputs; ++i) {
        if (i > 0) append(text, sizeof text, &used, " + ");
        appendInputText(combo.inputs[i], text, sizeof text, &used);
    }
    return text;
}

int comboTrackingCreate() {
    if (g_heldCombos < 0) g_heldCombos = listCreate(nullptr);
    if (g_newCombos < 0) g_newCombos = listCreate(nullptr);
    listClear(g_heldCombos);
    listClear(g_newCombos);
    return g_heldCombos >= 0 && g_newCombos >= 0 ? 0 : -1;
}

void comboTrackingDestroy() {
    listDestroy(&g_heldCombos);
    listDestroy(&g_newCombos);
}

void comboTrackingAdvance() {
    if (!listInUse(g_newCombos) || !listInUse(g_heldCombos)) return;
    while (listCount(g_newCombos) > 0) {
        listCursorFirst(g_newCombos);
        void* combo = listElement(g_newCombos);
        listRemove(g_newCombos, false);
        listAppend(g_heldCombos, combo);
    }
}

int comboPressedCombo(const KeyCombo& combo) {
    if (!listInUse(g_heldCombos) || !listInUse(g_newCombos)) return 0;
    bool down = combo.count >= 1;
    for (int i = 0; down && i < combo.count && i < kComboInputs; ++i) {
        down = inputDown(combo.inputs[i].device, combo.inputs[i].code);
    }
    if (!down) {
        inList(g_heldCombos, combo, true);
        return 0;
    }
    if (inList(g_heldCombos, combo, false)) return 0;
    auto* copy = static_cast<KeyCombo*>(std::malloc(sizeof(KeyCombo)));
    if (copy == nullptr) return 0;
    *copy = combo;
    listAppend(g_newCombos, copy);
    return 1;
}

int comboPressed(const char* text) {
    return comboPressedCombo(comboParse(text));
}

}  // namespace lumadisc
