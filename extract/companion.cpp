#include "extract/companion.h"

#include "extract/modeword.h"

namespace keyreap {

namespace {

std::wstring Quoted(const WidePath& path) {
    return L'"' + path.ExtendedLengthForm() + L'"';
}

// Every pair starts with a blank, so there are two blanks after the verb.
std::wstring PairText(const std::vector<FilePair>& pairs) {
    std::wstring text;
    for (const FilePair& pair : pairs) {
        text.append(L" ").append(Quoted(pair.sourceFile)).append(L" ").append(Quoted(pair.regFile));
    }
    return text;
}

} // namespace

WidePath CompanionPath(const WidePath& executable) {
    WidePath path = executable.Parent().Parent();
    path.Append(L"x86");
    path.Append(executable.FileName());
    return path;
}

std::wstring CompanionCommandLine(const WidePath& companion, const std::vector<FilePair>& pairs,
                                  CaptureMode mode) {
    return Quoted(companion) + L" extreg " + PairText(pairs) + L" " + ModeWord(mode);
}

} // namespace keyreap
