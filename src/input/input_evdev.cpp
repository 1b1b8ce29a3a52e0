// Mice, joysticks and keyboards read from /dev/input/event* through libevdev, never grabbed, so the
// emulator and the desktop keep seeing them.
#include <dirent.h>
#include <fcntl.h>
#include <libevdev/libevdev.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "input/input_devices.h"

namespace lumadisc {

namespace {

constexpr const char* kInputDirectory = "/dev/input";

bool hasJoystickButtons(const libevdev* d) {
    for (int code = BTN_JOYSTICK; code < BTN_DIGI; ++code) {
        if (libevdev_has_event_code(d, EV_KEY, code)) return true;
    }
    return false;
}

// Touchpads and tablets report absolute positions too; they are pointers, not joysticks.
bool isTouchDevice(const libevdev* d) {
    return libevdev_has_event_code(d, EV_KEY, BTN_TOUCH) || libevdev_has_event_code(d, EV_KEY, BTN_TOOL_FINGER) ||
           libevdev_has_event_code(d, EV_KEY, BTN_TOOL_PEN) || libevdev_has_event_code(d, EV_ABS, ABS_MT_POSITION_X);
}

// 0 when the device is none of the three families.
uint32_t familyOf(const libevdev* d) {
    if (libevdev_has_event_code(d, EV_REL, REL_X) && libevdev_has_event_code(d, EV_REL, REL_Y) &&
        libevdev_has_event_code(d, EV_KEY, BTN_LEFT)) {
        return kFamilyMouse;
    }
    if (!isTouchDevice(d) && (hasJoystickButtons(d) || libevdev_has_event_code(d, EV_ABS, ABS_X))) {
        return kFamilyJoystick;
    }
    if (libevdev_has_event_code(d, EV_KEY, KEY_A) && libevdev_has_event_code(d, EV_KEY, KEY_SPACE)) {
        return kFamilyKeyboard;
    }
    return 0;
}

class EvdevDevice : public InputDevice {
public:
    EvdevDevice(int fd, libevdev* device, uint32_t family) : fd_(fd), device_(device), family_(family) {}
    ~EvdevDevice() override {
        libevdev_free(device_);
        close(fd_);
    }

    uint32_t family() const override { return family_; }
    std::string identity() const override {
        const char* name = libevdev_get_name(device_);
        const char* phys = libevdev_get_phys(device_);
        const char* uniq = libevdev_get_uniq(device_);
        return std::string(name ? name : "") + "|" + (phys ? phys : "") + "|" + (uniq ? uniq : "");
    }
    bool hasKey(uint16_t code) const override { return libevdev_has_event_code(device_, EV_KEY, code) != 0; }
    bool hasAbs(uint16_t code) const override { return libevdev_has_event_code(device_, EV_ABS, code) != 0; }
    AxisRange absRange(uint16_t code) const override {
        return {libevdev_get_abs_minimum(device_, code), libevdev_get_abs_maximum(device_, code)};
    }
    int32_t absValue(uint16_t code) const override { return libevdev_get_event_value(device_, EV_ABS, code); }

    // After dropped events libevdev hands out the differences to the current state first.
    int next(InputEvent* event) override {
        input_event raw{};
        int rc = libevdev_next_event(device_, syncing_ ? LIBEVDEV_READ_FLAG_SYNC : LIBEVDEV_READ_FLAG_NORMAL, &raw);
        if (syncing_ && rc == -EAGAIN) {
            syncing_ = false;
            rc = libevdev_next_event(device_, LIBEVDEV_READ_FLAG_NORMAL, &raw);
        }
        if (rc == LIBEVDEV_READ_STATUS_SYNC) {
            syncing_ = true;
        } else if (rc == -EAGAIN) {
            return 0;
        } else if (rc != LIBEVDEV_READ_STATUS_SUCCESS) {
            return -1;  // ENODEV: unplugged; anything else leaves the device unusable too
        }
        *event = InputEvent{raw.type, raw.code, raw.value};
        return 1;
    }

private:
    int fd_;
    libevdev* device_;
    uint32_t family_;
    bool syncing_ = false;
};

class EvdevSource : public InputDeviceSource {
public:
    std::vector<std::string> list() override {
        std::vector<std::string> nodes;
        DIR* directory = opendir(kInputDirectory);
        if (directory == nullptr) return nodes;
        while (const dirent* entry = readdir(directory)) {
            if (std::strncmp(entry->d_name, "event", 5) == 0) nodes.push_back(std::string(kInputDirectory) + "/" + entry->d_name);
        }
        closedir(directory);
        std::sort(nodes.begin(), nodes.end(), [](const std::string& a, const std::string& b) {
            return a.size() != b.size() ? a.size() < b.size() : a < b;  // event2 before event10
        });
        return nodes;
    }

    std::unique_ptr<InputDevice> open(const std::string& node, std::string* reason) override {
        reason->clear();
        const int fd = ::open(node.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) {
            *reason = std::strerror(errno);
            return nullptr;
        }
        libevdev* device = nullptr;
        const int rc = libevdev_new_from_fd(fd, &device);
        if (rc < 0) {
            *reason = std::strerror(-rc);
            close(fd);
            return nullptr;
        }
        const uint32_t family = familyOf(device);
        if (family == 0) {
            libevdev_free(device);
            close(fd);
            return nullptr;
        }
        return std::make_unique<EvdevDevice>(fd, device, family);
    }
};

}  // namespace

std::unique_ptr<InputDeviceSource> makeEvdevSource() { return std::make_unique<EvdevSource>(); }

}  // namespace lumadisc
