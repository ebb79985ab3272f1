#include "tests/endtoend/harness/sharefolder.h"

#include "tests/endtoend/harness/files.h"
#include "tests/endtoend/harness/settings.h"

#include <windows.h>

namespace keyreap::endtoend {

ShareFolder::ShareFolder() : name(L"keyreap" + std::to_wstring(GetCurrentProcessId())) {
    MakeDirectory(TestSettings().shareLocal + L"\\" + name);
}

ShareFolder::~ShareFolder() {
    RemoveDirectoryWithContents(TestSettings().shareLocal + L"\\" + name);
}

std::wstring ShareFolder::Unc(const std::wstring& file) const {
    return TestSettings().shareUnc + L"\\" + name + L"\\" + file;
}

std::wstring ShareFolder::Local(const std::wstring& file) const {
    return TestSettings().shareLocal + L"\\" + name + L"\\" + file;
}

} // namespace keyreap::endtoend
