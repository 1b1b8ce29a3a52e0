#include "controller/save_state.h"

#include <cstdlib>
#include <cstring>

#include "config/settings.h"
#include "controller/controller_state.h"
#include "controller/events.h"
#include "controller/host_binding.h"
#include "disc/disc_model.h"

namespace lumadisc {

namespace {

ControllerState& s = g_controller;

constexpr size_t kImageOffset = offsetof(StateRecord, controller);

template <class T>
T imageField(const uint8_t* record, size_t fieldOffset) {
    T value;
    std::memcpy(&value, record + kImageOffset + fieldOffset, sizeof value);
    return value;
}

// Offsets of the ticks-left words, in event slot order.
constexpr size_t kTickOffsets[kEventCount] = {
    offsetof(StateRecord, interruptTicks), offsetof(StateRecord, readTicks),
    offsetof(StateRecord, coverClosedTicks), offsetof(StateRecord, reportTicks)};

}  // namespace

bool stateRecordAcceptable(const void* record) {
    if (record == nullptr) return false;
    const auto* bytes = static_cast<const uint8_t*>(record);
    uint32_t size;
    uint32_t version;
    std::memcpy(&size, bytes + offsetof(StateRecord, size), sizeof size);
    std::memcpy(&version, bytes + offsetof(StateRecord, version), sizeof version);
    if (size != LUMADISC_STATE_RECORD_SIZE || version != LUMADISC_STATE_RECORD_VERSION) return false;
    const auto sectorStart = imageField<uint32_t>(bytes, offsetof(ControllerState, sectorStart));
    const auto dataOffset = imageField<uint32_t>(bytes, offsetof(ControllerState, dataOffset));
    const auto toggle = imageField<uint8_t>(bytes, offsetof(ControllerState, bufferToggle));
    if (toggle > 1) return false;
    if (sectorStart == 0) return dataOffset == 0;
    if (sectorStart != halfOffset(0) && sectorStart != halfOffset(1)) return false;
    return dataOffset <= kHalfDataSize;
}

long stateSave(void** out) {
    auto* record = static_cast<StateRecord*>(std::malloc(sizeof(StateRecord)));
    if (record == nullptr) {
        if (out != nullptr) *out = nullptr;
        return 0;
    }
    // A pointer outside the delivered half (left in the other half by the last swap, with no data
    // request since) hands out nothing, exactly as one at the half's end: it is saved as that.
    s.dataOffset = sectorDelivered() ? kHalfDataSize - dataBytesLeft() : 0;
    if (settingLive(g_settings.playcdda) && s.cddaPlaying) {
        if (const uint8_t* block = psxcdrsystem.getSubsBuffer()) {
            const uint8_t* q = block + kSubchannelQOffset;
            for (int i = 0; i < 3; ++i) s.savedPlayPosition[i] = static_cast<uint8_t>(binaryFromBcd(q[7 + i]));
        }
    }
    record->size = LUMADISC_STATE_RECORD_SIZE;
    record->version = LUMADISC_STATE_RECORD_VERSION;
    std::memcpy(record->controller, &s, sizeof s);
    for (int slot = 0; slot < kEventCount; ++slot) {
        const uint32_t ticks = g_host.waitGet(g_host.handles[slot]);
        std::memcpy(reinterpret_cast<uint8_t*>(record) + kTickOffsets[slot], &ticks, sizeof ticks);
    }
    if (out != nullptr) {
        *out = record;
    } else {
        std::free(record);
    }
    return 0;
}

long stateLoad(const void* record) {
    if (!stateRecordAcceptable(record)) return 0;
    const auto* bytes = static_cast<const uint8_t*>(record);
    std::memcpy(&s, bytes + kImageOffset, sizeof s);
    for (int slot = 0; slot < kEventCount; ++slot) {
        uint32_t ticks;
        std::memcpy(&ticks, bytes + kTickOffsets[slot], sizeof ticks);
        g_host.waitSet(ticks, g_host.handles[slot]);
    }
    if (settingLive(g_settings.playcdda) && s.cddaPlaying) {
        const uint8_t* at = s.savedPlayPosition;
        psxcdrsystem.setLoc(lbaFromMsf(at[0], at[1], at[2]));
        psxcdrsystem.playCDDA();
    }
    s.dataPointer = s.sectorStart + s.dataOffset;
    return 0;
}

}  // namespace lumadisc
