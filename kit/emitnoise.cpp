#include "kit/emitnoise.h"

#include "kit/checkfile.h"
#include "kit/refusal.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace keyreap {

namespace {

struct CheckedCapture {
    std::string name;
    Capture capture;
    std::optional<std::vector<NoiseEntry>> noise; // none: nobody has looked for any
};

CheckedCapture ReadCheckedCapture(const std::string& name) {
    const std::vector<std::uint8_t> bytes = ReadCaptureBytes(name);
    return {name, CaptureOf(name, bytes), ReadNoise(name, bytes)};
}

void RefuseUnchecked(const CheckedCapture& checked) {
    if (!checked.noise) {
        throw Refusal(
            checked.name +
            ": --noise: no check says what is noise in it; 'keykit check SERVER CAPTURE' makes one");
    }
}

std::vector<EmitNote> NotesOn(const Capture& capture, std::span<const NoiseEntry> noise,
                              const std::wstring& reason) {
    std::vector<EmitNote> notes;
    for (const NoiseEntry& entry : noise) {
        EmitNote& note = notes.emplace_back();
        note.place.file = capture.file;
        note.place.key = entry.key;
        note.place.isKey = !entry.value;
        note.place.value = entry.value.value_or(std::wstring());
        note.reason = reason;
    }
    return notes;
}

void DropNoise(CheckedCapture& checked) {
    const std::vector<NoiseEntry>& noise = *checked.noise;
    Capture& capture = checked.capture;
    const std::vector<NoiseEntry> missing = EntriesNotIn(capture.document, noise);
    if (!missing.empty()) {
        SayNotes(NotesOn(capture, missing, L"is noise by the check file, and isn't in the capture"));
        throw Refusal(checked.name + ": --noise: its noise can't be left out");
    }
    capture.document = WithoutNoise(std::move(capture.document), noise);
    SayNotes(NotesOn(capture, EntriesNotIn(capture.document, noise),
                     L"is left out, since a library of the system wrote it"));
}

std::size_t NoiseCount(const std::vector<CheckedCapture>& captures) {
    std::size_t count = 0;
    for (const CheckedCapture& checked : captures) {
        count += checked.noise ? checked.noise->size() : 0;
    }
    return count;
}

void SayNoise(const std::vector<CheckedCapture>& captures) {
    const std::size_t count = NoiseCount(captures);
    Say((count == 1 ? "1 entry is" : std::to_string(count) + " entries are") +
        " of libraries of the system and not of the server: --noise drop leaves out what they wrote, "
        "--noise keep carries it");
    for (const CheckedCapture& checked : captures) {
        SayNotes(NotesOn(checked.capture, checked.noise.value_or(std::vector<NoiseEntry>()),
                         L"was written by a library of the system"));
    }
}

} // namespace

std::optional<std::vector<Capture>> CapturesToEmit(const std::vector<std::string>& names,
                                                   NoiseChoice choice) {
    std::vector<CheckedCapture> captures;
    std::ranges::transform(names, std::back_inserter(captures), ReadCheckedCapture);
    if (choice != NoiseChoice::Fail) {
        std::ranges::for_each(captures, RefuseUnchecked);
    } else if (NoiseCount(captures) > 0) {
        SayNoise(captures);
        return std::nullopt;
    }
    if (choice == NoiseChoice::Drop) {
        std::ranges::for_each(captures, DropNoise);
    }
    std::vector<Capture> result;
    for (CheckedCapture& checked : captures) {
        result.push_back(std::move(checked.capture));
    }
    return result;
}

} // namespace keyreap
