#pragma once

#include "kit/emit/installdata.h"
#include "kit/emit/xmltext.h"

#include <string_view>
#include <vector>

// Elements of WiX that stand for registry entries: Class, ProgId, TypeLib and Interface. Each produces a
// fixed set of entries below HKEY_CLASSES_ROOT, which is the classes of the package's scope. An element is
// used only if the component has all entries that it produces, with the same data.
namespace keyreap {

struct NativeElement {
    std::string_view name;
    XmlWriter::Attributes attributes;
    std::vector<NativeElement> children;
};

struct NativeElements {
    std::vector<NativeElement> inFile;      // below the file of the component's server
    std::vector<NativeElement> inComponent; // below the component itself
};

// The elements for a component that contains its server's file. The component loses the entries that they
// produce.
NativeElements TakeNativeElements(InstallComponent& component, const InstallData& data);

} // namespace keyreap
