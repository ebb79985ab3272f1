#include "kit/emit/nativeelements.h"
#include "tests/unit/emit/emittest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// Which elements there are, and where. tests/keykit/test_native.py evaluates them.
namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;
using testsupport::Emitted;
using testsupport::EmittedOf;

constexpr std::wstring_view classKey = L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}]";
constexpr std::wstring_view serverKey =
    L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\InprocServer32]";
constexpr std::wstring_view interfaceKey =
    L"[HKEY_CLASSES_ROOT\\Interface\\{B29A312E-EB83-43BC-A846-E0C0563B8876}]";
constexpr std::wstring_view path = L"@=\"Z:\\\\build\\\\bin\\\\a.dll\"";

TEST(NativeElementsTest, AClassIsBelowItsFileAndTakesItsEntries) {
    Emitted emitted = EmittedOf({classKey, L"@=\"Road\"", L"\"other\"=\"x\"", serverKey, path});
    InstallComponent& component = emitted.data.components.at(0);
    const NativeElements elements = TakeNativeElements(component, emitted.data);
    ASSERT_THAT(elements.inFile, SizeIs(1));
    EXPECT_EQ(elements.inFile[0].name, "Class");
    EXPECT_THAT(elements.inFile[0].attributes,
                ElementsAre(Pair("Id", L"B29A312E-EB83-43BC-A846-E0C0563B8877"), Pair("Advertise", L"no"),
                            Pair("Context", L"InprocServer32"), Pair("Description", L"Road")));
    ASSERT_THAT(component.keys, SizeIs(1));
    ASSERT_THAT(component.keys[0].values, SizeIs(1));
    EXPECT_EQ(component.keys[0].values[0].place.value, L"other");
}

TEST(NativeElementsTest, AnInterfaceWithoutItsLibraryIsBelowTheComponent) {
    Emitted emitted = EmittedOf({interfaceKey, L"@=\"IRoad\"", serverKey, path});
    const NativeElements elements = TakeNativeElements(emitted.data.components.at(0), emitted.data);
    ASSERT_THAT(elements.inComponent, SizeIs(1));
    EXPECT_EQ(elements.inComponent[0].name, "Interface");
}

TEST(NativeElementsTest, AServerAtAnotherPlaceIsNoElement) {
    Emitted emitted = EmittedOf({classKey, L"@=\"Road\"", serverKey, L"@=\"C:\\\\other.dll\""});
    const NativeElements elements = TakeNativeElements(emitted.data.components.at(0), emitted.data);
    EXPECT_THAT(elements.inFile, IsEmpty());
    EXPECT_THAT(emitted.data.components[0].keys, SizeIs(2));
}

} // namespace
} // namespace keyreap
