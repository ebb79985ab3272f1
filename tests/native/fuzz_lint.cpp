// A capture: whatever is in it, the findings are sorted, each has a sentence, and a second look finds the
// same. A capture doesn't differ from itself. Any bytes are a security descriptor or not.
#include "kit/lint/lintrules.h"
#include "kit/lint/securitydescriptor.h"
#include "regmodel/regtextreader.h"
#include "tests/native/regpieces.h"

#include <array>

using namespace keyreap;

namespace {

constexpr std::array<std::wstring_view, 36> pieces = {
    L"\r\n[HKEY_CLASSES_ROOT\\CLSID\\{00000000-0000-0000-0000-000000000001}",
    L"\r\n[HKEY_CLASSES_ROOT\\Interface\\{00000000-0000-0000-C000-000000000046}",
    L"\r\n[HKEY_CLASSES_ROOT\\TypeLib\\{00000000-0000-0000-0000-000000000001}",
    L"\r\n[HKEY_CLASSES_ROOT\\AppID\\{00000000-0000-0000-0000-000000000001}",
    L"\r\n[HKEY_CLASSES_ROOT\\a.b",
    L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\",
    L"\r\n[HKEY_CURRENT_USER\\Software\\",
    L"\r\n[HKEY_LOCAL_MACHINE\\S-1-",
    L"\r\n[-HKEY_CLASSES_ROOT\\",
    L"\\InprocServer32",
    L"\\LocalServer32",
    L"\\ProgID",
    L"\\CLSID",
    L"\\TypeLib",
    L"\\ProxyStubClsid32",
    L"\\1.0\\0\\win32",
    L"Software\\Velmoro\\Tesselink\\Temporary",
    L"]\r\n",
    L"\r\n",
    L"@=\"",
    L"@=hex(7):",
    L"\"LaunchPermission\"=hex:",
    L"\"ThreadingModel\"=\"",
    L"\"Version\"=\"1.0\"\r\n",
    L"\"n\"=-\r\n",
    L"\"\r\n",
    L"{00000000-0000-0000-0000-000000000001}",
    L"C:\\\\a b.exe",
    L"Both",
    L"a.b",
    L"01,00,04,80,00,00,00,00,00,00,00,00,00,00,00,00,14,00,00,00",
    L",02,00,1c,00,01,00,00,00",
    L",00,00,14,00,1f,00,00,00,01,01,00,00,00,00,00,01,00,00,00,00",
    L",ff",
    L"\\",
    L""};

bool IsInOrder(const RuleFinding& left, const RuleFinding& right) {
    const EntryPlace& one = left.finding.place;
    const EntryPlace& other = right.finding.place;
    return one.file < other.file || (one.file == other.file && left.rule <= right.rule);
}

void CheckFindings(const RegDocument& document) {
    const std::vector<Capture> captures = {{L"b", document}, {L"a", document}};
    const LintInput input(captures, {}, &captures.front());
    const std::vector<RuleFinding> findings = FindingsIn(input);
    for (std::size_t i = 0; i < findings.size(); ++i) {
        fuzz::Require(!findings[i].finding.sentence.empty());
        fuzz::Require(!findings[i].rule->number.starts_with("K6"));
        fuzz::Require(i == 0 || IsInOrder(findings[i - 1], findings[i]));
    }
    fuzz::Require(FindingsIn(input).size() == findings.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    AccessOfEveryoneIn({data, size});
    fuzz::Input input(data, size);
    const auto result = ReadRegDocument(fuzz::RegFileOf(input, pieces));
    if (const auto* const document = std::get_if<RegDocument>(&result)) {
        CheckFindings(*document);
    }
    return 0;
}
