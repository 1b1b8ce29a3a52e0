#include "input/input_devices.h"

#include <linux/input-event-codes.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <set>

namespace lumadisc {

namespace {

constexpr int kHats = 4;
constexpr int kHatFirstCode = 64 - 32;  // directions index of hat 0 down (code 64)
constexpr int kRelAxes = 3;             // X, Y, wheel

// Which evdev axis becomes which joystick axis number (-1: not reported). Numbers 0..7 are the
// usual stick, rotation and slider axes; wheel, gas and brake take the next three.
int joystickAxisOf(uint16_t code) {
    if (code <= ABS_RUDDER) return code;
    if (code == ABS_WHEEL) return 8;
    if (code == ABS_GAS) return 9;
    if (code == ABS_BRAKE) return 10;
    return -1;
}

struct DeviceSlot {
    std::unique_ptr<InputDevice> device;
    std::string node;
    std::string identity;
    bool lost = false;
    std::vector<uint16_t> buttonCodes;  // button number -> key code
    int32_t abs[ABS_CNT] = {};
    int32_t rel[kRelAxes] = {};
    uint8_t keys[KEY_CNT / 8 + 1] = {};  // keyboards without X: key code bits
    uint8_t buttons[kDeviceButtons] = {};
    uint8_t directions[kJoystickDirections] = {};

    bool held() const { return device != nullptr || lost; }
    void clearValues() {
        std::memset(rel, 0, sizeof rel);
        std::memset(buttons, 0, sizeof buttons);
        std::memset(directions, 0, sizeof directions);
    }
};

struct InputState {
    std::unique_ptr<KeyboardSource> keyboardSource;
    std::unique_ptr<InputDeviceSource> deviceSource;
    bool keyboardServer = false;
    bool keyboardOpen = false;
    uint16_t downCodes[kKeyboardDownMax] = {};
    int downCount = 0;
    DeviceSlot mice[kInputSlots];
    DeviceSlot joysticks[kInputSlots];
    DeviceSlot keyboards[kInputSlots];
    std::set<std::string> ignored;   // nodes that are none of the three families
    std::set<std::string> reported;  // nodes whose failure was printed once already
    int pollsToRescan = 0;
    bool initialised = false;
};

InputState g_input;
std::unique_ptr<KeyboardSource> g_keyboardOverride;
std::unique_ptr<InputDeviceSource> g_devicesOverride;

DeviceSlot* slotsOf(uint32_t family) {
    switch (family) {
        case kFamilyMouse: return g_input.mice;
        case kFamilyJoystick: return g_input.joysticks;
        case kFamilyKeyboard: return g_input.keyboards;
        default: return nullptr;
    }
}

void setBit(uint8_t* bits, int index, bool on) {
    if (on) {
        bits[index / 8] |= static_cast<uint8_t>(1u << (index % 8));
    } else {
        bits[index / 8] &= static_cast<uint8_t>(~(1u << (index % 8)));
    }
}

bool bit(const uint8_t* bits, int index) { return (bits[index / 8] >> (index % 8)) & 1; }

// Buttons are numbered as the joystick layer numbers them: the joystick and gamepad codes (and
// every code above) first, then the miscellaneous ones; mice number left, right, middle, side,
// extra, forward, back, task.
void numberButtons(DeviceSlot& slot) {
    slot.buttonCodes.clear();
    const InputDevice& d = *slot.device;
    if (d.family() == kFamilyMouse) {
        for (uint16_t code = BTN_LEFT; code <= BTN_TASK; ++code) slot.buttonCodes.push_back(code);
        return;
    }
    for (int code = BTN_JOYSTICK; code < KEY_CNT && slot.buttonCodes.size() < kDeviceButtons; ++code) {
        if (d.hasKey(static_cast<uint16_t>(code))) slot.buttonCodes.push_back(static_cast<uint16_t>(code));
    }
    for (int code = BTN_MISC; code < BTN_JOYSTICK && slot.buttonCodes.size() < kDeviceButtons; ++code) {
        if (d.hasKey(static_cast<uint16_t>(code))) slot.buttonCodes.push_back(static_cast<uint16_t>(code));
    }
}

void bind(DeviceSlot& slot, std::unique_ptr<InputDevice> device, const std::string& node) {
    slot.device = std::move(device);
    slot.node = node;
    slot.identity = slot.device->identity();
    slot.lost = false;
    std::memset(slot.keys, 0, sizeof slot.keys);
    slot.clearValues();
    numberButtons(slot);
    for (uint16_t code = 0; code < ABS_CNT; ++code) {
        slot.abs[code] = slot.device->hasAbs(code) ? slot.device->absValue(code) : 0;
    }
}

bool nodeHeld(const std::string& node) {
    for (DeviceSlot* slots : {g_input.mice, g_input.joysticks, g_input.keyboards}) {
        for (int i = 0; i < kInputSlots; ++i) {
            if (slots[i].device != nullptr && slots[i].node == node) return true;
        }
    }
    return false;
}

// A lost device of the same identity gets its slot back; otherwise the first free slot.
DeviceSlot* slotFor(DeviceSlot* slots, const std::string& identity) {
    for (int i = 0; i < kInputSlots; ++i) {
        if (slots[i].lost && slots[i].identity == identity) return &slots[i];
    }
    for (int i = 0; i < kInputSlots; ++i) {
        if (!slots[i].held()) return &slots[i];
    }
    return nullptr;
}

// Opens every attached node not held yet. Nodes that are none of the families are remembered and
// not opened again while they stay attached; a node that cannot be opened is reported once.
void scanDevices() {
    if (!g_input.deviceSource) return;
    const std::vector<std::string> nodes = g_input.deviceSource->list();
    for (auto it = g_input.ignored.begin(); it != g_input.ignored.end();) {
        it = std::find(nodes.begin(), nodes.end(), *it) == nodes.end() ? g_input.ignored.erase(it) : std::next(it);
    }
    for (const std::string& node : nodes) {
        if (g_input.ignored.count(node) != 0 || nodeHeld(node)) continue;
        std::string reason;
        std::unique_ptr<InputDevice> device = g_input.deviceSource->open(node, &reason);
        if (device == nullptr) {
            if (reason.empty()) {
                g_input.ignored.insert(node);
            } else if (g_input.reported.insert(node).second) {
                std::printf("[SYS] Error: input device not opened (%s, %s).\n", node.c_str(), reason.c_str());
                std::fflush(stdout);
            }
            continue;
        }
        const uint32_t family = device->family();
        // With the X server in charge of keys, evdev keyboards are not needed.
        if (family == kFamilyKeyboard && g_input.keyboardServer) {
            g_input.ignored.insert(node);
            continue;
        }
        DeviceSlot* slots = slotsOf(family);
        DeviceSlot* slot = slots != nullptr ? slotFor(slots, device->identity()) : nullptr;
        if (slot == nullptr) {
            g_input.ignored.insert(node);
            continue;
        }
        g_input.reported.erase(node);
        bind(*slot, std::move(device), node);
    }
}

void apply(DeviceSlot& slot, const InputEvent& event) {
    switch (event.type) {
        case EV_KEY:
            if (event.code < KEY_CNT) setBit(slot.keys, event.code, event.value != 0);
            break;
        case EV_REL:
            if (event.code == REL_X) slot.rel[0] += event.value;
            if (event.code == REL_Y) slot.rel[1] += event.value;
            if (event.code == REL_WHEEL) slot.rel[2] += event.value;
            break;
        case EV_ABS:
            if (event.code < ABS_CNT) slot.abs[event.code] = event.value;
            break;
        default:
            break;
    }
}

void lose(DeviceSlot& slot, int index) {
    const uint32_t family = slot.device->family();
    slot.device.reset();
    slot.lost = true;
    std::memset(slot.keys, 0, sizeof slot.keys);
    slot.clearValues();
    if (family == kFamilyMouse) {
        std::printf("[SYS] mouse[%i] unacquired.\n", index);
    } else if (family == kFamilyJoystick) {
        std::printf("[SYS] g_pJoystick[%i] unacquired.", index);
    }
    std::fflush(stdout);
}

// Takes the device's pending events; false when it is gone.
bool drain(DeviceSlot& slot, int index) {
    InputEvent event{};
    for (int n = 0; n < kInputEventsPerPoll; ++n) {
        const int got = slot.device->next(&event);
        if (got == 0) return true;
        if (got < 0) {
            lose(slot, index);
            return false;
        }
        apply(slot, event);
    }
    return true;
}

void setDirection(uint8_t* negative, uint8_t* positive, int32_t value, int32_t limit) {
    *negative = static_cast<uint8_t>(value < 0 ? std::min(-value, limit) : 0);
    *positive = static_cast<uint8_t>(value > 0 ? std::min(value, limit) : 0);
}

void decodeButtons(DeviceSlot& slot) {
    for (size_t i = 0; i < kDeviceButtons; ++i) {
        slot.buttons[i] = i < slot.buttonCodes.size() && bit(slot.keys, slot.buttonCodes[i]) ? 0x80 : 0;
    }
}

void decodeMouse(DeviceSlot& slot) {
    decodeButtons(slot);
    std::memset(slot.directions, 0, sizeof slot.directions);
    setDirection(&slot.directions[0], &slot.directions[1], slot.rel[0], 127);
    setDirection(&slot.directions[2], &slot.directions[3], slot.rel[1], 127);
    if (slot.rel[2] != 0) slot.directions[slot.rel[2] < 0 ? 4 : 5] = kWheelNotch;
    std::memset(slot.rel, 0, sizeof slot.rel);
}

// Evdev hats report -1/0/1 per direction pair; turned into the angle a hat switch reports.
int32_t hatAngle(int32_t x, int32_t y) {
    if (x == 0 && y == 0) return -1;
    static const int32_t kAngles[3][3] = {{31500, 0, 4500}, {27000, -1, 9000}, {22500, 18000, 13500}};
    return kAngles[std::clamp(y, -1, 1) + 1][std::clamp(x, -1, 1) + 1];
}

void decodeJoystick(DeviceSlot& slot) {
    decodeButtons(slot);
    std::memset(slot.directions, 0, sizeof slot.directions);
    for (uint16_t code = 0; code < ABS_CNT; ++code) {
        const int axis = joystickAxisOf(code);
        if (axis < 0 || !slot.device->hasAbs(code)) continue;
        const int32_t value = scaleAxis(slot.abs[code], slot.device->absRange(code));
        setDirection(&slot.directions[2 * axis], &slot.directions[2 * axis + 1], value, 127);
    }
    for (int hat = 0; hat < kHats; ++hat) {
        const uint16_t x = static_cast<uint16_t>(ABS_HAT0X + 2 * hat);
        const int32_t angle = hatAngle(slot.abs[x], slot.abs[x + 1]);
        hatDirections(angle, &slot.directions[kHatFirstCode + 4 * hat]);
    }
}

void pollKeyboard() {
    if (!g_input.keyboardOpen) return;
    uint8_t keys[32] = {};
    if (g_input.keyboardServer && !g_input.keyboardSource->keymap(keys)) {
        // The connection to the X server is gone: evdev keyboards are picked up at the next rescan.
        g_input.keyboardServer = false;
    }
    if (!g_input.keyboardServer) {
        for (const DeviceSlot& slot : g_input.keyboards) {
            if (slot.device == nullptr) continue;
            for (int code = 0; code + 8 < 256; ++code) {
                if (bit(slot.keys, code)) setBit(keys, code + 8, true);
            }
        }
    }
    setBit(keys, 0, false);
    uint32_t mask = 0;
    for (int i = 0; i < kModifierCount; ++i) {
        if (!bit(keys, kModifierKeys[i])) continue;
        mask |= 1u << i;
        setBit(keys, kModifierKeys[i], false);  // a modifier never counts as a key of its own
    }
    g_input.downCount = 0;
    for (int index = 0; index < 256 && g_input.downCount < kKeyboardDownMax; ++index) {
        if (bit(keys, index)) g_input.downCodes[g_input.downCount++] = static_cast<uint16_t>(mask << 8 | index);
    }
}

void closeAll() {
    for (DeviceSlot* slots : {g_input.mice, g_input.joysticks, g_input.keyboards}) {
        for (int i = 0; i < kInputSlots; ++i) slots[i] = DeviceSlot();
    }
    g_input.ignored.clear();
    g_input.reported.clear();
}

}  // namespace

void inputUseSources(std::unique_ptr<KeyboardSource> keyboard, std::unique_ptr<InputDeviceSource> devices) {
    g_keyboardOverride = std::move(keyboard);
    g_devicesOverride = std::move(devices);
}

int inputInit() {
    if (g_input.initialised) inputShutdown();
    g_input.keyboardSource = g_keyboardOverride ? std::move(g_keyboardOverride) : makeX11Keyboard();
    g_input.deviceSource = g_devicesOverride ? std::move(g_devicesOverride) : makeEvdevSource();
    g_input.keyboardServer = g_input.keyboardSource->connect();
    g_input.keyboardOpen = false;
    g_input.downCount = 0;
    closeAll();
    scanDevices();
    g_input.pollsToRescan = kInputRescanPolls;
    comboTrackingCreate();
    g_input.initialised = true;
    return 0;
}

void inputShutdown() {
    closeAll();
    if (g_input.keyboardSource) g_input.keyboardSource->disconnect();
    g_input.keyboardSource.reset();
    g_input.deviceSource.reset();
    g_input.keyboardServer = false;
    g_input.keyboardOpen = false;
    comboTrackingDestroy();
    g_input.initialised = false;
}

int inputOpen() {
    g_input.keyboardOpen = g_input.initialised;
    g_input.downCount = 0;
    for (DeviceSlot* slots : {g_input.mice, g_input.joysticks, g_input.keyboards}) {
        for (int i = 0; i < kInputSlots; ++i) {
            if (slots[i].device != nullptr && drain(slots[i], i)) slots[i].clearValues();
        }
    }
    return 0;
}

void inputClose() {
    g_input.keyboardOpen = false;
    g_input.downCount = 0;
}

int inputPoll() {
    if (!g_input.initialised) return 0;
    if (--g_input.pollsToRescan <= 0) {
        g_input.pollsToRescan = kInputRescanPolls;
        scanDevices();
    }
    for (int i = 0; i < kInputSlots; ++i) {
        if (g_input.keyboards[i].device != nullptr) drain(g_input.keyboards[i], i);
        DeviceSlot& mouse = g_input.mice[i];
        if (mouse.device != nullptr && drain(mouse, i)) decodeMouse(mouse);
        DeviceSlot& joystick = g_input.joysticks[i];
        if (joystick.device != nullptr && drain(joystick, i)) decodeJoystick(joystick);
    }
    pollKeyboard();
    comboTrackingAdvance();
    return 0;
}

bool inputDown(uint32_t device, uint32_t code) {
    const uint32_t family = (device >> 4) & 0xF;
    const uint32_t index = device & 0xF;
    if (device > 0xFF) return false;
    if (family == kFamilyKeyboard) {
        if (index != 0 || !g_input.keyboardOpen) return false;
        for (int i = 0; i < g_input.downCount; ++i) {
            if (g_input.downCodes[i] == code) return true;
        }
        return false;
    }
    if (family != kFamilyMouse && family != kFamilyJoystick) return false;
    const DeviceSlot& slot = slotsOf(family)[index];
    if (slot.device == nullptr) return false;
    if (code < kDeviceButtons) return slot.buttons[code] != 0;
    const uint32_t directions = family == kFamilyMouse ? kMouseDirections : kJoystickDirections;
    if (code - kDeviceButtons < directions) return slot.directions[code - kDeviceButtons] >= kDirectionDown;
    return false;
}

int inputDownList(KeyInput* out, int max) {
    int n = 0;
    if (g_input.keyboardOpen) {
        for (int i = 0; i < g_input.downCount && n < max; ++i) {
            out[n++] = KeyInput{g_input.downCodes[i], 0, kFamilyKeyboard << 4};
        }
    }
    for (uint32_t family : {kFamilyMouse, kFamilyJoystick}) {
        const uint32_t codes = kDeviceButtons + (family == kFamilyMouse ? kMouseDirections : kJoystickDirections);
        for (uint32_t index = 0; index < kInputSlots; ++index) {
            const uint32_t device = family << 4 | index;
            for (uint32_t code = 0; code < codes && n < max; ++code) {
                if (inputDown(device, code)) out[n++] = KeyInput{code, code >= kDeviceButtons ? 1u : 0u, device};
            }
        }
    }
    return n;
}

bool inputKeyboardFromServer() { return g_input.keyboardServer; }

int inputDeviceCount(uint32_t family) {
    const DeviceSlot* slots = slotsOf(family);
    if (slots == nullptr) return 0;
    return static_cast<int>(std::count_if(slots, slots + kInputSlots, [](const DeviceSlot& s) { return s.held(); }));
}

void hatDirections(int32_t hundredths, uint8_t out[4]) {
    std::memset(out, 0, 4);
    if (hundredths == -1) return;
    const int32_t v = hundredths;
    if (v >= 13500 && v <= 22500) out[0] = 127;  // down
    if (v <= 4500 || v >= 31500) out[1] = 127;   // up
    if (v >= 4500 && v <= 13500) out[2] = 127;   // right
    if (v >= 22500 && v <= 31500) out[3] = 127;  // left
}

int32_t scaleAxis(int32_t value, AxisRange range) {
    if (range.maximum <= range.minimum) return 0;
    const int64_t span = static_cast<int64_t>(range.maximum) - range.minimum;
    const int64_t offset = std::clamp<int64_t>(static_cast<int64_t>(value) - range.minimum, 0, span);
    // Rounded to the nearest step, so a centred axis of an even span reads 0.
    return static_cast<int32_t>((offset * 254 * 2 + span) / (span * 2)) - 127;
}

}  // namespace lumadisc
