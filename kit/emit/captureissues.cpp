#include "kit/emit/captureissues.h"

#include "kit/capture/pathforms.h"
#include "regmodel/regplace.h"

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

std::wstring DoubtAboutKey(std::wstring_view keyPath) {
    if (const std::wstring path = AbsolutePathIn(keyPath); !path.empty()) {
        return L"has a path of the build machine in its name: " + path;
    }
    return PlaceOf(keyPath).scope.view == RegView::Wow6432
               ? L"names the 32-bit view, which an installer chooses by itself"
               : L"";
}

} // namespace keyreap
