#include "kit/emit/captureissues.h"

namespace keyreap {

void NoteIssuesOf(const Capture& capture, std::vector<EmitNote>& notes) {
    for (const RegAmbiguity& ambiguity : capture.document.ambiguities) {
        notes.push_back({{capture.file, ambiguity.line, {}, false, {}},
                         L"can be read in two ways: " + ambiguity.reading});
    }
    if (!HasValue(capture.document)) {
        notes.push_back({{capture.file, 0, {}, false, {}}, L"no value was captured"});
    }
}

} // namespace keyreap
