// The input devices fed with recorded key maps and event streams: keyboard codes with modifiers,
// mouse movement and wheel, joystick scaling and hats, combinations across devices, devices that
// vanish and come back, and devices that cannot be opened.
#include <gtest/gtest.h>

#include <vector>

#include "input/input_devices.h"
#include "input/key_combo.h"
#include "support/list_pool.h"
#include "tests/unit/input_fakes.h"

namespace lumadisc {
namespace {

using unit::FakeDeviceSource;
using unit::FakeKeyboard;

class InputDevices : public ::testing::Test {
protected:
    void SetUp() override { listPoolInit(); }
    void TearDown() override {
        inputClose();
        inputShutdown();
        listPoolShutdown();
    }

    // Installs the fakes (the test keeps pointers to them) and brings the devices up and open.
    void start(bool xReachable = true, std::set<std::string> denied = {}) {
        auto keyboard = std::make_unique<FakeKeyboard>();
        auto devices = std::make_unique<FakeDeviceSource>();
        keyboard->reachable = xReachable;
        keyboard_ = keyboard.get();
        devices_ = devices.get();
        devices_->attached = attachAtStart_;
        devices_->denied = std::move(denied);
        inputUseSources(std::move(keyboard), std::move(devices));
        ASSERT_EQ(inputInit(), 0);
        ASSERT_EQ(inputOpen(), 0);
    }

    std::vector<KeyInput> down() {
        KeyInput inputs[64];
        return std::vector<KeyInput>(inputs, inputs + inputDownList(inputs, 64));
    }

    void pollUntilRescan() {
        for (int i = 0; i < kInputRescanPolls; ++i) inputPoll();
    }

    std::map<std::string, std::shared_ptr<unit::FakeDeviceDescription>> attachAtStart_;
    FakeKeyboard* keyboard_ = nullptr;
    FakeDeviceSource* devices_ = nullptr;
};

std::vector<uint32_t> codesOf(const std::vector<KeyInput>& inputs) {
    std::vector<uint32_t> codes;
    for (const KeyInput& input : inputs) codes.push_back(input.code);
    return codes;
}

TEST_F(InputDevices, KeyboardCodesCarryTheHeldModifiers) {
    start();
    std::vector<uint32_t> seventeen;
    std::set<int> held;
    for (int k = 10; k < 27; ++k) held.insert(k);
    for (int k = 10; k < 26; ++k) seventeen.push_back(static_cast<uint32_t>(k));
    const struct {
        std::set<int> keys;
        std::vector<uint32_t> codes;
    } cases[] = {
        {{75}, {0x004b}},
        {{62, 75}, {0x024b}},
        {{37}, {}},
        {{37, 64, 54}, {0x4436}},
        {{50, 62, 37, 105, 133, 134, 64, 108, 9}, {0xff09}},
        {held, seventeen},  // seventeen keys: the sixteen lowest
    };
    for (const auto& c : cases) {
        keyboard_->down = c.keys;
        inputPoll();
        EXPECT_EQ(codesOf(down()), c.codes);
    }
    keyboard_->down = {62, 75};
    inputPoll();
    EXPECT_EQ(comboPressed("0110004b"), 0) << "F9 with a modifier held is another combination";
    inputClose();
    keyboard_->down = {75};
    inputPoll();
    EXPECT_TRUE(down().empty()) << "a closed keyboard reports nothing";
}

TEST_F(InputDevices, MouseMovementAndWheelLastOnePoll) {
    auto mouse = unit::fakeMouse();
    attachAtStart_["/dev/input/event3"] = mouse;
    start();
    mouse->events = {{EV_REL, REL_X, -200}, {EV_REL, REL_Y, 30}, {EV_REL, REL_Y, 40}, {EV_REL, REL_WHEEL, -1},
                     {EV_SYN, SYN_REPORT, 0}};
    inputPoll();
    EXPECT_TRUE(inputDown(0x20, 32)) << "far left: A0-";
    EXPECT_FALSE(inputDown(0x20, 33));
    EXPECT_TRUE(inputDown(0x20, 35)) << "30 + 40 down in one poll: A1+";
    EXPECT_TRUE(inputDown(0x20, 36)) << "one wheel notch: A2-";
    mouse->events = {{EV_REL, REL_Y, 20}};
    inputPoll();
    EXPECT_FALSE(inputDown(0x20, 32));
    EXPECT_FALSE(inputDown(0x20, 35)) << "20 is below the pressed threshold";
    EXPECT_FALSE(inputDown(0x20, 36)) << "the wheel direction is gone at the next poll";
    mouse->events = {{EV_KEY, BTN_RIGHT, 1}};
    inputPoll();
    EXPECT_TRUE(inputDown(0x20, 1));
    EXPECT_FALSE(inputDown(0x21, 1)) << "no second mouse";
}

TEST_F(InputDevices, JoystickAxesScaleFromTheirOwnRange) {
    const struct {
        int32_t value;
        AxisRange range;
        int32_t scaled;
    } cases[] = {{-32768, {-32768, 32767}, -127}, {32767, {-32768, 32767}, 127}, {0, {-32768, 32767}, 0},
                 {0, {0, 255}, -127},             {255, {0, 255}, 127},          {128, {0, 255}, 0},
                 {900, {0, 255}, 127},            {-5, {0, 255}, -127},          {7, {3, 3}, 0}};
    for (const auto& c : cases) EXPECT_EQ(scaleAxis(c.value, c.range), c.scaled) << c.value;

    auto pad = unit::fakePad();
    pad->initial[ABS_Z] = 128;
    attachAtStart_["/dev/input/event4"] = pad;
    start();
    pad->events = {{EV_ABS, ABS_X, -20000}, {EV_ABS, ABS_Y, 32767}, {EV_KEY, BTN_EAST, 1}};
    inputPoll();
    EXPECT_TRUE(inputDown(0x30, 32)) << "X at -20000 is past the threshold";
    EXPECT_TRUE(inputDown(0x30, 35)) << "Y at its top";
    EXPECT_FALSE(inputDown(0x30, 36)) << "Z rests in the middle of 0..255";
    EXPECT_TRUE(inputDown(0x30, 1)) << "the second button of the pad";
    pad->events = {{EV_ABS, ABS_X, -10000}, {EV_ABS, ABS_Z, 0}};
    inputPoll();
    EXPECT_FALSE(inputDown(0x30, 32)) << "X at -10000 is not";
    EXPECT_TRUE(inputDown(0x30, 35)) << "an axis keeps its value until it moves";
    EXPECT_TRUE(inputDown(0x30, 36));
}

TEST_F(InputDevices, HatsSetBothNeighboursOnDiagonals) {
    const struct {
        int32_t angle;
        std::vector<int> directions;  // down, up, right, left
    } cases[] = {{-1, {0, 0, 0, 0}},        {0, {0, 1, 0, 0}},      {4500, {0, 1, 1, 0}},  {9000, {0, 0, 1, 0}},
                 {13500, {1, 0, 1, 0}},     {18000, {1, 0, 0, 0}},  {22500, {1, 0, 0, 1}}, {27000, {0, 0, 0, 1}},
                 {31500, {0, 1, 0, 1}},     {35999, {0, 1, 0, 0}}};
    for (const auto& c : cases) {
        uint8_t out[4];
        hatDirections(c.angle, out);
        for (int i = 0; i < 4; ++i) EXPECT_EQ(out[i] != 0, c.directions[i] != 0) << c.angle << " direction " << i;
    }

    auto pad = unit::fakePad();
    attachAtStart_["/dev/input/event4"] = pad;
    start();
    pad->events = {{EV_ABS, ABS_HAT0X, -1}, {EV_ABS, ABS_HAT0Y, -1}};
    inputPoll();
    EXPECT_EQ(comboText(KeyCombo{{{65, 1, 0x30}, {67, 1, 0x30}}, 2}), std::string("Js0_A16+ + Js0_A17-"));
    EXPECT_TRUE(comboPressed("0230010041300100" "43")) << "up and left";
    EXPECT_FALSE(inputDown(0x30, 64));
    EXPECT_FALSE(inputDown(0x30, 66));
    pad->events = {{EV_ABS, ABS_HAT0X, 0}, {EV_ABS, ABS_HAT0Y, 0}};
    inputPoll();
    for (uint32_t code = 64; code < 80; ++code) EXPECT_FALSE(inputDown(0x30, code)) << "centred: " << code;
}

TEST_F(InputDevices, ACombinationFiresOnceWhenAllItsInputsAreDown) {
    auto mouse = unit::fakeMouse();
    attachAtStart_["/dev/input/event3"] = mouse;
    start();
    const char* f9AndLeftButton = "021000004b20000000";
    struct Step {
        std::set<int> keys;
        int button;  // BTN_LEFT value after the step, -1 unchanged
        int fires;
    } steps[] = {
        {{75}, -1, 0},  // the key alone
        {{}, 1, 0},     // the button alone
        {{75}, -1, 1},  // both: fires
        {{75}, -1, 0},  // still held: not again
        {{}, -1, 0},    // the key let go
        {{75}, -1, 1},  // pressed again: fires again
        {{75}, 0, 0},
    };
    int n = 0;
    for (const Step& s : steps) {
        keyboard_->down = s.keys;
        if (s.button >= 0) mouse->events.push_back({EV_KEY, BTN_LEFT, s.button});
        inputPoll();
        EXPECT_EQ(comboPressed(f9AndLeftButton), s.fires) << "step " << n++;
    }
    // Tested twice before the next poll, a new combination fires twice.
    keyboard_->down = {};
    inputPoll();
    comboPressed("0110004b");
    keyboard_->down = {75};
    inputPoll();
    EXPECT_EQ(comboPressed("0110004b"), 1);
    EXPECT_EQ(comboPressed("0110004b"), 1);
    inputPoll();
    EXPECT_EQ(comboPressed("0110004b"), 0);
    EXPECT_EQ(comboPressed(""), 0);
    EXPECT_EQ(comboPressed("00"), 0);
}

TEST_F(InputDevices, AVanishedDeviceComesBackIntoItsSlot) {
    auto first = unit::fakeMouse("first mouse");
    auto second = unit::fakeMouse("second mouse");
    attachAtStart_["/dev/input/event3"] = first;
    attachAtStart_["/dev/input/event5"] = second;
    start();
    ASSERT_EQ(inputDeviceCount(kFamilyMouse), 2);
    first->events = {{EV_KEY, BTN_LEFT, 1}};
    inputPoll();
    ASSERT_TRUE(inputDown(0x20, 0));

    testing::internal::CaptureStdout();
    first->gone = true;
    devices_->attached.erase("/dev/input/event3");
    inputPoll();
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "[SYS] mouse[0] unacquired.\n");
    EXPECT_FALSE(inputDown(0x20, 0)) << "a vanished mouse holds no button";

    // Plugged in again under another node: it is found at the next rescan and keeps slot 0.
    auto again = unit::fakeMouse("first mouse");
    devices_->attached["/dev/input/event7"] = again;
    pollUntilRescan();
    again->events = {{EV_KEY, BTN_MIDDLE, 1}};
    second->events = {{EV_KEY, BTN_RIGHT, 1}};
    inputPoll();
    EXPECT_TRUE(inputDown(0x20, 2));
    EXPECT_TRUE(inputDown(0x21, 1)) << "the other mouse stays in slot 1";
    EXPECT_EQ(inputDeviceCount(kFamilyMouse), 2);
}

TEST_F(InputDevices, DevicesThatCannotBeOpenedAreReportedOnceAndSkipped) {
    auto pad = unit::fakePad();
    attachAtStart_["/dev/input/event4"] = pad;
    auto other = std::make_shared<unit::FakeDeviceDescription>();
    other->family = 0;  // a power button: none of the families
    attachAtStart_["/dev/input/event0"] = other;
    testing::internal::CaptureStdout();
    start(true, {"/dev/input/event9"});
    pollUntilRescan();
    pollUntilRescan();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "[SYS] Error: input device not opened (/dev/input/event9, Permission denied).\n");
    EXPECT_EQ(inputDeviceCount(kFamilyJoystick), 1);
    EXPECT_EQ(devices_->opens, 2 + 3) << "the power button is not opened again, the denied node is retried";
}

// With an X server the evdev keyboards are left alone (checked by the hot-key tests on a real one).
TEST_F(InputDevices, WithoutAnXServerKeyboardsAreReadThroughEvdev) {
    auto keys = std::make_shared<unit::FakeDeviceDescription>();
    keys->family = kFamilyKeyboard;
    keys->identity = "keyboard";
    attachAtStart_["/dev/input/event1"] = keys;
    start(false);
    EXPECT_FALSE(inputKeyboardFromServer());
    keys->events = {{EV_KEY, KEY_LEFTCTRL, 1}, {EV_KEY, KEY_LEFTALT, 1}, {EV_KEY, KEY_C, 1}, {EV_KEY, KEY_F9, 2}};
    inputPoll();
    EXPECT_EQ(codesOf(down()), (std::vector<uint32_t>{0x4436, 0x444b}));
    keys->events = {{EV_KEY, KEY_F9, 0}, {EV_KEY, KEY_LEFTALT, 0}};
    inputPoll();
    EXPECT_EQ(codesOf(down()), (std::vector<uint32_t>{0x0436}));
}

}  // namespace
}  // namespace lumadisc
