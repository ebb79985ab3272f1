#include "extract/modeword.h"

#include "platform/core/text/compare.h"

#include <array>

namespace keyreap {

namespace {

struct ModeRow {
    std::wstring_view word;
    CaptureMode mode;
};

constexpr std::array<ModeRow, 3> modeRows{{
    {L"keyRedir", CaptureMode::keyRedir},
    {L"trace", CaptureMode::trace},
    {L"both", CaptureMode::both},
}};

} // namespace

std::wstring ModeWord(CaptureMode mode) {
    for (const ModeRow& row : modeRows) {
        if (row.mode == mode) {
            return std::wstring(row.word);
        }
    }
    return {};
}

CaptureMode ParseModeWord(std::wstring_view word) {
    for (const ModeRow& row : modeRows) {
        if (CompareFolded(row.word, word) == 0) {
            return row.mode;
        }
    }
    return CaptureMode::both;
}

} // namespace keyreap
