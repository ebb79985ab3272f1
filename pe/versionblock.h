#pragma once

#include "pe/checkedview.h"

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

namespace keyreap {

// A file's version resource in memory. Its contents can't be trusted either.
class VersionBlock {
public:
    // Returns 0 or the system's error code. On some failures the system reports 0 too: nothing is found then.
    DWORD Load(const std::wstring& path);

    // The place of a value, such as "\" or "\VarFileInfo\Translation"; null if it is missing or empty.
    const std::byte* Find(const std::wstring& subBlock) const;

    // The number `offset` bytes after a value; 0 if it isn't inside the block.
    template <typename Integer>
    Integer Number(const std::byte* value, std::size_t offset) const {
        return view.Read<Integer>(value + offset).value_or(0);
    }

    // The value's text up to its first zero.
    std::wstring Text(const std::byte* value) const;

private:
    std::unique_ptr<std::byte[]> bytes;
    CheckedView view;
};

} // namespace keyreap
