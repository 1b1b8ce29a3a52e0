#include "drive/sense_messages.h"

#include <algorithm>
#include <iterator>

#include "config/log.h"

namespace lumadisc {

namespace {

constexpr const char* kKeyNames[16] = {
    "No sense data",   "Recovered error", "Not ready",  "Medium error",    "Hardware error", "Illegal request",
    "Unit attention",  "Data protect",    "(reserved)", "(reserved)",      "(reserved)",     "Aborted command",
    "(reserved)",      "(reserved)",      "Miscompare", "(reserved)",
};

struct CodeText {
    uint16_t code;  // ASC in the high byte, ASCQ in the low byte
    const char* text;
};

// In ascending code order, so that a lookup can halve the table.
constexpr CodeText kCodeTexts[] = {
    {0x0000, "No additional sense information"},
    {0x0011, "Audio play operation in progress"},
    {0x0012, "Audio play operation paused"},
    {0x0013, "Audio play operation successfully completed"},
    {0x0014, "Audio play operation stopped due to error"},
    {0x0015, "No current audio status to return"},
    {0x0200, "No seek complete"},
    {0x0400, "Logical unit not ready - cause not reportable"},
    {0x0401, "Logical unit not ready - in progress (sic) of becoming ready"},
    {0x0402, "Logical unit not ready - initializing command required"},
    {0x0403, "Logical unit not ready - manual intervention required"},
    {0x0600, "No reference position found"},
    {0x0900, "Track following error"},
    {0x0901, "Tracking servo failure"},
    {0x0902, "Focus servo failure"},
    {0x0903, "Spindle servo failure"},
    {0x1100, "Unrecovered read error"},
    {0x1106, "CIRC unrecovered error"},
    {0x1500, "Random positioning error"},
    {0x1501, "Mechanical positioning error"},
    {0x1502, "Positioning error detected by read of medium"},
    {0x1700, "Recovered data with no error correction applied"},
    {0x1701, "Recovered data with retries"},
    {0x1702, "Recovered data with positive head offset"},
    {0x1703, "Recovered data with negative head offset"},
    {0x1704, "Recovered data with retries and/or CIRC applied"},
    {0x1705, "Recovered data using previous sector ID"},
    {0x1800, "Recovered data with error correction applied"},
    {0x1801, "Recovered data with error correction and retries applied"},
    {0x1802, "Recovered data - the data was auto-reallocated"},
    {0x1803, "Recovered data with CIRC"},
    {0x1804, "Recovered data with L-EC"},
    {0x1805, "Recovered data - recommend reassignment"},
    {0x1806, "Recovered data - recommend rewrite"},
    {0x1A00, "Parameter list length error"},
    {0x2000, "Invalid command operation code"},
    {0x2100, "Logical block address out of range"},
    {0x2400, "Invalid field in command packet"},
    {0x2600, "Invalid field in parameter list"},
    {0x2601, "Parameter not supported"},
    {0x2602, "Parameter value invalid"},
    {0x2603, "Threshold parameters not supported"},
    {0x2800, "Not ready to ready transition, medium may have changed"},
    {0x2900, "Power on, reset or bus device reset occurred"},
    {0x2A00, "Parameters changed"},
    {0x2A01, "Mode parameters changed"},
    {0x3000, "Incompatible medium installed"},
    {0x3001, "Cannot read medium - unknown format"},
    {0x3002, "Cannot read medium - incompatible format"},
    {0x3700, "Rounded parameter"},
    {0x3900, "Saving parameters not supported"},
    {0x3A00, "Medium not present"},
    {0x3F00, "ATAPI CD-ROM drive operating conditions have changed"},
    {0x3F01, "Microcode has been changed"},
    {0x3F02, "Changed operating definition"},
    {0x3F03, "Inquiry data has changed"},
    {0x4000, "Diagnostic failure on component (ASCQ)"},
    {0x4400, "Internal ATAPI CD-ROM drive failure"},
    {0x4E00, "Overlapped commands attempted"},
    {0x5300, "Media load or eject failed"},
    {0x5302, "Medium removal prevented"},
    {0x5700, "Unable to recover table of contents"},
    {0x5A00, "Operator request or state change input (unspecified)"},
    {0x5A01, "Operator medium removal request"},
    {0x5B00, "Threshold condition met"},
    {0x5C00, "Status change"},
    {0x6300, "End of user area encountered on this track"},
    {0x6400, "Illegal mode for this track"},
    {0xBF00, "Loss of streaming"},
};
static_assert(std::size(kCodeTexts) == 69);

constexpr bool codesAscend() {
    for (size_t i = 1; i < std::size(kCodeTexts); ++i)
        if (kCodeTexts[i - 1].code >= kCodeTexts[i].code) return false;
    return true;
}
static_assert(codesAscend(), "the lookup needs the codes in ascending order");

}  // namespace

SenseCodes senseDecode(const uint8_t* bytes, size_t length) {
    SenseCodes codes;
    if (bytes == nullptr || length < 1) return codes;
    const uint8_t format = bytes[0] & 0x7F;
    if (format == 0x70 || format == 0x71) {
        if (length > 2) codes.key = bytes[2] & 0x0F;
        if (length > 12) codes.asc = bytes[12];
        if (length > 13) codes.ascq = bytes[13];
    } else if (format == 0x72 || format == 0x73) {
        if (length > 1) codes.key = bytes[1] & 0x0F;
        if (length > 2) codes.asc = bytes[2];
        if (length > 3) codes.ascq = bytes[3];
    }
    return codes;
}

const char* senseKeyName(uint8_t key) { return kKeyNames[key & 0x0F]; }

const char* senseCodeText(uint8_t asc, uint8_t ascq) {
    const uint16_t code = static_cast<uint16_t>(asc << 8 | ascq);
    const auto* end = std::end(kCodeTexts);
    const auto* found =
        std::lower_bound(std::begin(kCodeTexts), end, code, [](const CodeText& row, uint16_t c) { return row.code < c; });
    return found != end && found->code == code ? found->text : nullptr;
}

void senseReport(uint8_t key, uint8_t asc, uint8_t ascq) {
    logWrite(kLogPlugin, "[CDR] Sense data (SK/ASC/ASCQ): 0x%02X/0x%02X/0x%02X\n", key, asc, ascq);
    logWrite(kLogPlugin, "[CDR] %s. ", senseKeyName(key));
    if (const char* text = senseCodeText(asc, ascq)) logWrite(kLogPlugin, "[CDR] %s.", text);
    logWrite(kLogPlugin, "[CDR]\n");
}

}  // namespace lumadisc
