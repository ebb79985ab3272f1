#include "platform/core/osversion.h"

#include "platform/core/text/text.h"

#include <algorithm>
#include <tuple>

namespace keyreap {

namespace {

struct SuiteFlag {
    std::wstring_view word;
    std::uint16_t flag;
};

// The words of "ProductSuite" and their VER_SUITE_ flags (winnt.h).
constexpr std::array suiteFlags = {
    SuiteFlag{L"Small Business", 0x0001},
    SuiteFlag{L"Enterprise", 0x0002},
    SuiteFlag{L"BackOffice", 0x0004},
    SuiteFlag{L"CommunicationServer", 0x0008},
    SuiteFlag{L"Terminal Server", 0x0010},
    SuiteFlag{L"Small Business(Restricted)", 0x0020},
    SuiteFlag{L"EmbeddedNT", 0x0040},
    SuiteFlag{L"DataCenter", 0x0080},
    SuiteFlag{L"Personal", 0x0200},
    SuiteFlag{L"Blade", 0x0400},
    SuiteFlag{L"Embedded(Restricted)", 0x0800},
    SuiteFlag{L"Security Appliance", 0x1000},
    SuiteFlag{L"Storage Server", 0x2000},
    SuiteFlag{L"Compute Server", 0x4000},
};

std::uint32_t DigitOf(wchar_t unit) {
    return static_cast<std::uint32_t>(unit) - L'0';
}

auto OrderOf(const OsVersion& version) {
    // Deliberate: the service pack decides before the build number.
    return std::tuple(version.majorVersion, version.minorVersion, version.servicePack,
                      static_cast<std::uint32_t>(version.buildNumber));
}

OsVersion VersionOfMajor(std::uint32_t majorVersion) {
    OsVersion version;
    version.majorVersion = majorVersion;
    return version;
}

} // namespace

bool IsAtLeast(const OsVersion& a, const OsVersion& b) {
    return OrderOf(a) >= OrderOf(b);
}

const OsVersion& VistaVersion() {
    static const OsVersion vistaVersion = VersionOfMajor(6);
    return vistaVersion;
}

const OsVersion& Windows10Version() {
    static const OsVersion windows10Version = VersionOfMajor(10);
    return windows10Version;
}

void SetVersionFromText(OsVersion& record, std::wstring_view currentVersion) {
    if (currentVersion.size() == 3) {
        record.majorVersion = DigitOf(currentVersion[0]);
        record.minorVersion = DigitOf(currentVersion[2]);
    }
}

void SetServicePack(OsVersion& record, std::wstring_view csdVersion) {
    const std::wstring_view kept = csdVersion.substr(0, record.csdVersion.size() - 1);
    record.csdVersion.fill(L'\0');
    std::ranges::copy(kept, record.csdVersion.begin());
    record.servicePack = csdVersion.empty() ? 0 : DigitOf(csdVersion.back());
}

void SetProductType(OsVersion& record, std::wstring_view productType) {
    if (productType == L"WinNT") {
        record.productType = 1;
    } else if (productType == L"ServerNT") {
        record.productType = 3;
    } else {
        record.productType = 2;
    }
    record.isServer = record.productType != 1;
}

void AddProductSuites(OsVersion& record, std::wstring_view words) {
    for (const std::wstring& word : SplitText(words, std::wstring_view(L"\0", 1), false)) {
        if (word.empty()) {
            return;
        }
        const auto row = std::ranges::find(suiteFlags, std::wstring_view(word), &SuiteFlag::word);
        if (row != suiteFlags.end()) {
            record.suiteMask = static_cast<std::uint16_t>(record.suiteMask | row->flag);
        }
    }
}

} // namespace keyreap
