// Recorded input for the input-device tests: a key map to set by hand and evdev-like devices that
// replay event streams, plugged in and pulled out at will.
#pragma once

#include <linux/input-event-codes.h>

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "input/input_devices.h"

namespace lumadisc::unit {

struct FakeKeyboard : KeyboardSource {
    bool reachable = true;
    std::set<int> down;  // key indices
    bool connect() override { return reachable; }
    void disconnect() override {}
    bool keymap(uint8_t keys[32]) override {
        for (int k : down) keys[k / 8] |= static_cast<uint8_t>(1u << (k % 8));
        return reachable;
    }
};

// What a device is and what it has recorded; shared with the test so it can add events later.
struct FakeDeviceDescription {
    uint32_t family = kFamilyMouse;
    std::string identity = "fake";
    std::set<uint16_t> keys;
    std::map<uint16_t, AxisRange> axes;
    std::map<uint16_t, int32_t> initial;
    std::deque<InputEvent> events;
    bool gone = false;  // next() reports the device as unplugged
};

class FakeDevice : public InputDevice {
public:
    explicit FakeDevice(std::shared_ptr<FakeDeviceDescription> device) : device_(std::move(device)) {}
    uint32_t family() const override { return device_->family; }
    std::string identity() const override { return device_->identity; }
    bool hasKey(uint16_t code) const override { return device_->keys.count(code) != 0; }
    bool hasAbs(uint16_t code) const override { return device_->axes.count(code) != 0; }
    AxisRange absRange(uint16_t code) const override { return device_->axes.at(code); }
    int32_t absValue(uint16_t code) const override {
        auto it = device_->initial.find(code);
        return it == device_->initial.end() ? 0 : it->second;
    }
    int next(InputEvent* event) override {
        if (device_->gone) return -1;
        if (device_->events.empty()) return 0;
        *event = device_->events.front();
        device_->events.pop_front();
        return 1;
    }

private:
    std::shared_ptr<FakeDeviceDescription> device_;
};

struct FakeDeviceSource : InputDeviceSource {
    std::map<std::string, std::shared_ptr<FakeDeviceDescription>> attached;  // node -> device
    std::set<std::string> denied;
    int opens = 0;
    std::vector<std::string> list() override {
        std::vector<std::string> nodes;
        for (const auto& [node, device] : attached) nodes.push_back(node);
        for (const auto& node : denied) nodes.push_back(node);
        return nodes;
    }
    std::unique_ptr<InputDevice> open(const std::string& node, std::string* reason) override {
        ++opens;
        reason->clear();
        if (denied.count(node) != 0) {
            *reason = "Permission denied";
            return nullptr;
        }
        auto it = attached.find(node);
        if (it == attached.end() || it->second->gone) {
            *reason = "No such device";
            return nullptr;
        }
        if (it->second->family == 0) return nullptr;
        return std::make_unique<FakeDevice>(it->second);
    }
};

inline std::shared_ptr<FakeDeviceDescription> fakeMouse(const std::string& identity = "mouse") {
    auto device = std::make_shared<FakeDeviceDescription>();
    device->family = kFamilyMouse;
    device->identity = identity;
    device->keys = {BTN_LEFT, BTN_RIGHT, BTN_MIDDLE};
    return device;
}

inline std::shared_ptr<FakeDeviceDescription> fakePad(const std::string& identity = "pad") {
    auto device = std::make_shared<FakeDeviceDescription>();
    device->family = kFamilyJoystick;
    device->identity = identity;
    device->keys = {BTN_SOUTH, BTN_EAST, BTN_START};
    device->axes = {{ABS_X, {-32768, 32767}}, {ABS_Y, {-32768, 32767}}, {ABS_Z, {0, 255}},
                  {ABS_HAT0X, {-1, 1}},     {ABS_HAT0Y, {-1, 1}}};
    return device;
}

}  // namespace lumadisc::unit
