#pragma once

#include <string>

namespace keyreap::endtoend {

// A folder on the share, there for as long as this object lives.
class ShareFolder {
public:
    ShareFolder();
    ShareFolder(const ShareFolder&) = delete;
    ShareFolder& operator=(const ShareFolder&) = delete;
    ~ShareFolder();

    // A file in it, by its name on the share and by its local one.
    std::wstring Unc(const std::wstring& file) const;
    std::wstring Local(const std::wstring& file) const;

private:
    std::wstring name;
};

} // namespace keyreap::endtoend
