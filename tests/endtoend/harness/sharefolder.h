#pragma once

#include <string>

namespace keyreap::endtoend {

// A folder on the share that exists as long as this object does.
class ShareFolder {
public:
    ShareFolder();
    ShareFolder(const ShareFolder&) = delete;
    ShareFolder& operator=(const ShareFolder&) = delete;
    ~ShareFolder();

    // The paths of a file in the folder: on the share and local.
    std::wstring Unc(const std::wstring& file) const;
    std::wstring Local(const std::wstring& file) const;

private:
    std::wstring name;
};

} // namespace keyreap::endtoend
