// Save states of the controller: the state block and the ticks left of the four events, in one
// record that restores in any process running the same build.
#pragma once

namespace lumadisc {

// Allocates a record (the caller releases it with free) and stores its address in *record.
long stateSave(void** record);
// Restores a record; one that fails stateRecordAcceptable is ignored and changes nothing.
long stateLoad(const void* record);
// Size and version words as written by stateSave, and positions that designate bytes of the sector
// buffer: sectorStart at the start of a half (or 0, before the first delivery, with offset 0), the
// data offset within the half's 2340 bytes, the buffer toggle 0 or 1.
bool stateRecordAcceptable(const void* record);

}  // namespace lumadisc
