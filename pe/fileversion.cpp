#include "pe/fileversion.h"

#include "pe/shimclone.h"
#include "pe/versionblock.h"
#include "pe/versiontext.h"

#include <cstddef>

namespace keyreap {

namespace {

constexpr std::uint16_t defaultLanguage = 1033;
constexpr std::uint16_t defaultCodePage = 1250;

std::wstring VersionTextOf(const VersionBlock& block) {
    const std::byte* fixed = block.Find(L"\\");
    if (fixed == nullptr) {
        return FileVersionText(0, 0);
    }
    return FileVersionText(block.Number<std::uint32_t>(fixed, offsetof(VS_FIXEDFILEINFO, dwFileVersionMS)),
                           block.Number<std::uint32_t>(fixed, offsetof(VS_FIXEDFILEINFO, dwFileVersionLS)));
}

// The block of the first translation, or of the default one.
std::wstring FirstCompanyNameBlock(const VersionBlock& block) {
    const std::byte* translation = block.Find(L"\\VarFileInfo\\Translation");
    if (translation == nullptr) {
        return CompanyNameBlock(defaultLanguage, defaultCodePage);
    }
    return CompanyNameBlock(block.Number<std::uint16_t>(translation, 0),
                            block.Number<std::uint16_t>(translation, sizeof(std::uint16_t)));
}

} // namespace

bool ReadFileVersion(const std::wstring& path, std::wstring& versionText) {
    const ShimClone clone(path);
    VersionBlock block;
    if (block.Load(clone.Path()) != ERROR_SUCCESS) {
        return false;
    }
    versionText = VersionTextOf(block);
    return true;
}

bool ReadCompanyName(std::wstring& pathAndResult) {
    VersionBlock block;
    if (block.Load(pathAndResult) != ERROR_SUCCESS) {
        return false;
    }
    const std::byte* name = block.Find(FirstCompanyNameBlock(block));
    if (name == nullptr) {
        return false;
    }
    pathAndResult = block.Text(name);
    return true;
}

} // namespace keyreap
