#include "host/classic_host.h"

#include <cstring>

namespace lumadisc::host {

bool ClassicHost::load(const std::string& pluginPath) { return loader_.load(pluginPath); }

Lba ClassicHost::leadOut() {
    unsigned char td[3] = {0, 0, 0};
    api().getTD(0, td);  // frame, second, minute
    return lbaFromMsf(td[2], td[1], td[0]);
}

std::vector<TrackInfo> ClassicHost::tracks() {
    std::vector<TrackInfo> result;
    unsigned char tn[2] = {0, 0};
    api().getTN(tn);
    for (int number = tn[0]; number >= 1 && number <= tn[1]; ++number) {
        unsigned char td[3] = {0, 0, 0};
        api().getTD(static_cast<unsigned char>(number), td);
        TrackInfo track;
        track.number = number;
        track.start = Msf{td[2], td[1], td[0]};
        track.lba = lbaFromMsf(track.start);
        unsigned char minute = 0, second = 0, frame = 0;
        api().getTE(static_cast<unsigned char>(number), &minute, &second, &frame);
        // The last track ends at the lead-out; every other one where the next begins.
        const Lba end = number == tn[1] ? leadOut() : lbaFromMsf(minute, second, frame);
        track.length = end - track.lba;
        uint8_t sector[kRawSectorSize];
        uint8_t subchannel[kSubchannelSize];
        readRaw(track.lba, sector, subchannel);
        // The plugin's word on the track's type: the control bits of the Q channel at its start (data
        // 0x4), when the block is a position block of this very track. Only a block that is not (a
        // subchannel file of other content) leaves it to the sector's sync pattern.
        const uint8_t* q = subchannel + kSubchannelQOffset;
        const bool positionOfTrack = qCrcValid(q) && (q[0] & 0x0F) == 1 && q[1] == bcdFromBinary(static_cast<uint8_t>(number));
        track.audio = positionOfTrack ? (q[0] & 0x40) == 0 : std::memcmp(sector, kSectorSync, sizeof kSectorSync) != 0;
        result.push_back(track);
    }
    return result;
}

SectorRead ClassicHost::readSector(Lba lba) {
    SectorRead read;
    const Msf bcd = bcdMsf(msfFromLba(lba));
    unsigned char time[3] = {bcd.minute, bcd.second, bcd.frame};
    read.result = api().readTrack(time);
    const unsigned char* buffer = api().getBuffer();  // from the header on
    std::memcpy(read.header, buffer, sizeof read.header);
    std::memcpy(read.subheader, buffer + 4, sizeof read.subheader);
    std::memcpy(read.data, buffer + 12, sizeof read.data);
    std::memcpy(read.subchannel, api().getBufferSub(), sizeof read.subchannel);
    return read;
}

void ClassicHost::readRaw(Lba lba, uint8_t* sector, uint8_t* subchannel) {
    const Msf msf = msfFromLba(lba);
    api().readCDDA(msf.minute, msf.second, msf.frame, sector);
    std::memcpy(subchannel, api().getBufferSub(), kSubchannelSize);
}

}  // namespace lumadisc::host
