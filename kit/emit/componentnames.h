#pragma once

#include "kit/emit/installdata.h"
#include "platform/core/text/guid.h"

#include <string>
#include <string_view>

namespace keyreap {

// The text as an identifier: letters of ASCII, digits, underscores and periods, and no digit or period at the
// start. Everything else is an underscore.
std::wstring IdentifierOf(std::wstring_view text);

// Gives the data, the servers and the components their names, and the components their GUIDs. These follow
// from the product, the scope, the bitness, the folder and the file's name, and not from the entries: the
// next version of the product has the same, and no other product has them.
void NameComponents(InstallData& data, const Guid& product);

} // namespace keyreap
