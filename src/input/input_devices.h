// Keyboard, mice and joysticks polled for the hot keys, behind two narrow sources: the keyboard's
// global key map (the X server) and evdev-like devices (mice, joysticks, keyboards without X).
// Everything here is touched by one thread at a time: the hot-key thread while it runs, the
// host's thread in init, open, close and shutdown.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "input/key_combo.h"
#include "input/key_names.h"

namespace lumadisc {

constexpr int kInputSlots = 16;
constexpr int kKeyboardDownMax = 16;
constexpr int kDeviceButtons = 32;
constexpr int kMouseDirections = 32;
constexpr int kJoystickDirections = 64;
constexpr int kDirectionDown = 65;     // a direction value from here on counts as pressed
constexpr int kWheelNotch = 80;        // the value one wheel notch gives its direction for one poll
// Devices plugged in later are looked for once in this many polls (about two seconds).
constexpr int kInputRescanPolls = 40;
// At most this many events are taken from one device per poll, so a flooding device cannot stall it.
constexpr int kInputEventsPerPoll = 1024;

// One event as the kernel's input layer reports it (type, code, value of linux/input.h).
struct InputEvent {
    uint16_t type;
    uint16_t code;
    int32_t value;
};

struct AxisRange {
    int32_t minimum;
    int32_t maximum;
};

// One opened device.
class InputDevice {
public:
    virtual ~InputDevice() = default;
    virtual uint32_t family() const = 0;
    // Name and physical location: a device that comes back under another node keeps its slot.
    virtual std::string identity() const = 0;
    virtual bool hasKey(uint16_t code) const = 0;
    virtual bool hasAbs(uint16_t code) const = 0;
    virtual AxisRange absRange(uint16_t code) const = 0;
    // The value an absolute axis has now (before any event is read).
    virtual int32_t absValue(uint16_t code) const = 0;
    // 1 with *event filled, 0 when nothing is pending, -1 when the device is gone.
    virtual int next(InputEvent* event) = 0;
};

// Finds and opens devices.
class InputDeviceSource {
public:
    virtual ~InputDeviceSource() = default;
    // The nodes attached now.
    virtual std::vector<std::string> list() = 0;
    // Null when the node cannot be opened (*reason says why) or is none of the three families
    // (*reason left empty).
    virtual std::unique_ptr<InputDevice> open(const std::string& node, std::string* reason) = 0;
};

// The global key state of a keyboard server.
class KeyboardSource {
public:
    virtual ~KeyboardSource() = default;
    virtual bool connect() = 0;
    virtual void disconnect() = 0;
    // 32 bytes: bit k%8 of byte k/8 is set while key index k is down. False when not connected.
    virtual bool keymap(uint8_t keys[32]) = 0;
};

std::unique_ptr<KeyboardSource> makeX11Keyboard();
std::unique_ptr<InputDeviceSource> makeEvdevSource();
// Replaces the sources used from the next inputInit on (tests); null restores the real one.
void inputUseSources(std::unique_ptr<KeyboardSource> keyboard, std::unique_ptr<InputDeviceSource> devices);

int inputInit();
void inputShutdown();
int inputOpen();
void inputClose();
// Polls every device, then lets the combinations that became down join the held ones.
int inputPoll();

// Whether one input is down on the device named by its device byte.
bool inputDown(uint32_t device, uint32_t code);
// Every input down now, keyboard first, then mice and joysticks by slot; at most `max`.
int inputDownList(KeyInput* out, int max);
// Whether keys come from the X server (else from evdev keyboards).
bool inputKeyboardFromServer();
// How many mice and joysticks are held (lost ones included).
int inputDeviceCount(uint32_t family);

// Hundredths of a degree (or -1, centred) to the four hat directions: down, up, right, left.
void hatDirections(int32_t hundredths, uint8_t out[4]);
// An absolute value from its range to -127..127.
int32_t scaleAxis(int32_t value, AxisRange range);

}  // namespace lumadisc
