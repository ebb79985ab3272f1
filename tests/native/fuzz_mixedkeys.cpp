#include "hostlogger/filter/mixedkeys.h"
#include "platform/core/text/compare.h"
#include "tests/native/fuzzinput.h"

#include <array>
#include <set>
#include <string>
#include <string_view>

using namespace keyreap;

namespace {

// Templates of meaningful lines. A digit replaces each % and a name each @.
constexpr std::array<std::string_view, 16> lineTemplates = {
    "20: create_key( access=0002001f, objattr={rootdir=000%,attributes=00000040,sd={},name=L\"@\"}, "
    "class=L\"\" )",
    "20: create_key( access=000f013f, objattr={rootdir=000%,attributes=00000040,sd={},name=L\"@\"}, "
    "class=L\"\" )",
    "20: create_key() = OBJECT_NAME_EXISTS { hkey=000% }",
    "20: create_key() = 0 { hkey=000% }",
    "20: open_key( parent=000%, access=00020019, attributes=00000040, name=L\"@\" )",
    "20: open_key() = 0 { hkey=000% }",
    "20: open_key() = OBJECT_NAME_NOT_FOUND { hkey=0000 }",
    "Open key REGISTRY\\\\User\\\\S-1\\\\Software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\HKLM\\\\@",
    "Create key REGISTRY\\\\User\\\\S-1\\\\Software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\HKLM\\\\@",
    "Create key REGISTRY\\\\Machine\\\\@",
    "20: set_key_value( hkey=000%, type=4, namelen=2, name=L\"@\" )",
    "20: set_key_value() = 0",
    "20: get_key_value( hkey=000%, name=L\"@\" )",
    "20: get_key_value() = 0 { type=4 }",
    "20: delete_key( hkey=000% )",
    "20: delete_key() = 0",
};

constexpr std::array<std::string_view, 8> lineNames = {
    "",
    "A",
    "a\\\\B",
    "Wow6432Node",
    "WOW6432NODE\\\\A",
    "Wow6432Node\\\\Wow6432Node",
    "Software\\\\\\\\A\\\\",
    "\\\\REGISTRY\\\\User\\\\S-1\\\\Software\\\\Velmoro\\\\Tesselink\\\\Temporary\\\\HKLM"};

std::string FilledLine(fuzz::Input& input) {
    return fuzz::FilledLine(input, lineTemplates, lineNames);
}

} // namespace

// Requests of a 32-bit process in and near the temporary tree: each name is reported once, and no name is
// above another.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    MixedKeys mixed;
    for (const char* line :
         {"20: init_first_thread( unix_pid=1 )", "20: init_first_thread() = 0 { pid=10, tid=20 }",
          "20: get_mapping_info( handle=0008 )",
          "20: get_mapping_info() = 0 { image={machine=014c,image_flags=04} }",
          "20: get_process_debug_info( handle=ffffffff )",
          "20: get_process_debug_info() = 0 { debug=0000 }"}) {
        mixed.Feed(line);
    }
    while (!input.IsEmpty()) {
        mixed.Feed(FilledLine(input));
    }
    const std::vector<std::wstring> names = mixed.Names();
    std::set<std::wstring> folded;
    for (const std::wstring& name : names) {
        fuzz::Require(!name.empty() && folded.insert(FoldedText(name)).second);
    }
    for (const std::wstring& name : folded) {
        const auto next = folded.upper_bound(name + L'\\');
        fuzz::Require(next == folded.end() || !next->starts_with(name + L'\\'));
    }
    return 0;
}
