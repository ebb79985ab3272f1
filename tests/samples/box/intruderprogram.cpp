#include "tests/samples/box/intruder.h"

#include <string_view>

int wmain(int count, wchar_t** arguments) {
    if (count == 2 && arguments[1] == std::wstring_view(L"/REGSERVER")) {
        keyreap::samples::box::TryAll();
    }
    return 0;
}
