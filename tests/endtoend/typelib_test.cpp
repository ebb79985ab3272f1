#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/sharefolder.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

// A type library is not a 64-bit image, so the 32-bit build registers it, whatever system it is made for.
class TypeLibrary : public Workbench {
protected:
    DWORD CaptureOf(Bitness program, const std::wstring& file) const {
        return Capture(program, file, Work(L"out.reg"));
    }
    std::wstring Library(Bitness system) const { return Sample(system, L"calculator.tlb"); }
};

TEST_F(TypeLibrary, IsRegisteredByTheCompanionUnderItsOwnName) {
    for (const Bitness program : {Bitness::x64, Bitness::x86}) {
        EXPECT_EQ(CaptureOf(program, Library(Bitness::x86)), 0U);
        EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("library_alone-x86.reg", PathsOf(Library(Bitness::x86)))));
    }
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_F(TypeLibrary, IsRecognisedByItsFirstBytesAndNotByItsExtension) {
    ASSERT_TRUE(Copy(Library(Bitness::x86), Work(L"library.txt")));
    EXPECT_EQ(CaptureOf(Bitness::x64, Work(L"library.txt")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("library_alone-x86.reg", PathsOf(Work(L"library.txt")))));
}

TEST_F(TypeLibrary, ThatIsDamagedOrInvalidFails) {
    ASSERT_TRUE(WriteText(Work(L"four.tlb"), "MSFT"));
    ASSERT_TRUE(WriteText(Work(L"damaged.tlb"), "MSFT" + std::string(508, '\0')));
    ASSERT_TRUE(WriteText(Work(L"lowercase.tlb"), "msft and more"));
    for (const wchar_t* name : {L"four.tlb", L"damaged.tlb", L"lowercase.tlb"}) {
        EXPECT_EQ(CaptureOf(Bitness::x64, Work(name)), statusFailed) << name;
        EXPECT_FALSE(Exists(Work(L"out.reg"))) << name;
    }
}

TEST_F(TypeLibrary, OnAShareIsRegisteredFromACopyAndNamedAsGiven) {
    const ShareFolder share;
    const std::wstring given = share.Unc(L"library.tlb");
    ASSERT_TRUE(Copy(Library(Bitness::x86), share.Local(L"library.tlb")));
    EXPECT_EQ(CaptureOf(Bitness::x64, given), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), Golden("library_alone-x86.reg", PathsOf(given))));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

// Programs that contain a type library, and a DLL with the extension of a program.
class CarriedLibrary : public Workbench, public testing::WithParamInterface<Bitness> {
protected:
    ~CarriedLibrary() override {
        DeleteTree(HKEY_CURRENT_USER, L"Software\\KeyreapRegServer");
        for (const wchar_t* key : {L"TypeLib\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}",
                                   L"TypeLib\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D20}",
                                   L"Interface\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D10}"}) {
            DeleteTree(HKEY_CLASSES_ROOT, key);
            DeleteTree(HKEY_CLASSES_ROOT, L"Wow6432Node\\" + std::wstring(key));
        }
    }

    DWORD CaptureOf(const std::wstring& file) const { return Capture(GetParam(), file, Work(L"out.reg")); }
    Bytes GoldenOf(const std::string& name, const std::wstring& file) const {
        return Golden(name + (GetParam() == Bitness::x64 ? "-x64.reg" : "-x86.reg"), PathsOf(file));
    }
    // A copy of a sample in a folder whose name ends like a program's.
    std::wstring InFolderExe(const std::wstring& sample, const std::wstring& name) const {
        MakeDirectory(Work(L"folder.exe"));
        EXPECT_TRUE(Copy(Sample(GetParam(), sample), Work(L"folder.exe\\" + name)));
        return Work(L"folder.exe\\" + name);
    }
    static bool IsCalculatorLive() {
        return KeyExists(HKEY_CLASSES_ROOT, L"TypeLib\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D11}");
    }
    static bool IsSecondLive() {
        return KeyExists(HKEY_CLASSES_ROOT, L"TypeLib\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D20}");
    }
    static bool ProgramRan() { return KeyExists(HKEY_CURRENT_USER, L"Software\\KeyreapRegServer"); }
};

TEST_P(CarriedLibrary, OfAnExportingFileIsStagedAndEveryTextNamesTheFile) {
    const std::wstring file = Sample(GetParam(), L"exporting.exe");
    EXPECT_EQ(CaptureOf(file), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), GoldenOf("exporting", file)));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(CarriedLibrary, IsFoundUnderTheExtensionInCapitals) {
    ASSERT_TRUE(Copy(Sample(GetParam(), L"exporting.exe"), Work(L"a.EXE")));
    EXPECT_EQ(CaptureOf(Work(L"a.EXE")), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), GoldenOf("exporting", Work(L"a.EXE"))));
}

TEST_P(CarriedLibrary, OfAFileWithAnotherExtensionIsNotRegistered) {
    const std::wstring file = InFolderExe(L"exporting.exe", L"a.dll");
    EXPECT_EQ(CaptureOf(file), 0U);
    EXPECT_TRUE(
        Holds(Work(L"out.reg"),
              Document(L"\r\n[HKEY_CLASSES_ROOT]\r\n\r\n[HKEY_CLASSES_ROOT\\Keyreap.Exporting]\r\n@=\"" +
                       Doubled(file) + L"\"\r\n" +
                       RedirectedRoots().substr(std::wstring(L"\r\n[HKEY_CLASSES_ROOT]\r\n").size()))));
}

TEST_P(CarriedLibrary, OfAProgramWithoutAnExtensionIsNotRegisteredWhateverItsFolderIsCalled) {
    EXPECT_EQ(CaptureOf(InFolderExe(L"typelibone.exe", L"a")), 0U);
    EXPECT_TRUE(ProgramRan());
    EXPECT_FALSE(IsCalculatorLive());
    EXPECT_TRUE(Holds(Work(L"out.reg"), Document(UntouchedRoots())));
}

// The loader appends .dll to a name without an extension, so the export can't run. The capture would succeed
// only if the library were registered.
TEST_P(CarriedLibrary, OfAnExportingFileWithoutAnExtensionIsNotRegisteredWhateverItsFolderIsCalled) {
    EXPECT_EQ(CaptureOf(InFolderExe(L"exporting.exe", L"a")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
}

TEST_P(CarriedLibrary, OfAnExportingFileOnAShareIsMappedInsteadOfTheCopy) {
    const ShareFolder share;
    const std::wstring given = share.Unc(L"exporting.exe");
    ASSERT_TRUE(Copy(Sample(GetParam(), L"exporting.exe"), share.Local(L"exporting.exe")));
    EXPECT_EQ(CaptureOf(given), 0U);
    const std::wstring text = ReadUnits(Work(L"out.reg"));
    // The mapping of paths now belongs to the staged library. The copy's folder lies below a mapped folder,
    // but the copy's own path is no longer mapped.
    EXPECT_NE(text.find(Doubled(given) + L"\""), std::wstring::npos);
    EXPECT_NE(text.find(L"@=\"" + Doubled(share.Unc(L"UNC"))), std::wstring::npos);
    EXPECT_EQ(text.find(Doubled(TemporaryFolder())), std::wstring::npos);
    EXPECT_EQ(TemporaryFiles(), nothing);
}

// The staged file then has no folder, only its extension, and the file's path replaces that extension.
TEST_P(CarriedLibrary, WithoutATemporaryDirectoryIsStagedInTheCurrentOneAndNamedWrongly) {
    RemoveDirectoryWithContents(TemporaryFolder());
    MakeDirectory(Work(L"current"));
    const std::wstring file = Sample(GetParam(), L"exporting.exe");
    EXPECT_EQ(RunLine(CaptureLine(GetParam(), file, Work(L"out.reg")), Work(L"current")), 0U);
    EXPECT_NE(ReadUnits(Work(L"out.reg")).find(Doubled(Work(L"current\\") + file) + L"\""),
              std::wstring::npos);
    EXPECT_EQ(ListTree(Work(L"current")), nothing);
}

TEST_P(CarriedLibrary, OfAProgramIsRegisteredBesideTheProgram) {
    EXPECT_EQ(CaptureOf(Sample(GetParam(), L"typelibone.exe")), 0U);
    EXPECT_TRUE(ProgramRan());
    EXPECT_TRUE(IsCalculatorLive());
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(CarriedLibrary, IsTheFirstEnumeratedOneOfSeveral) {
    EXPECT_EQ(CaptureOf(Sample(GetParam(), L"typelibseveral.exe")), 0U);
    EXPECT_TRUE(IsCalculatorLive());
    EXPECT_FALSE(IsSecondLive());
}

TEST_P(CarriedLibrary, IsFoundByATextualName) {
    EXPECT_EQ(CaptureOf(Sample(GetParam(), L"typelibnamed.exe")), 0U);
    EXPECT_TRUE(IsCalculatorLive());
    EXPECT_FALSE(IsSecondLive());
}

TEST_P(CarriedLibrary, ThatIsDamagedFailsTheProgramsRegistration) {
    EXPECT_EQ(CaptureOf(Sample(GetParam(), L"typelibdamaged.exe")), statusFailed);
    EXPECT_TRUE(ProgramRan());
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(CarriedLibrary, ThatIsDamagedFailsTheRegistrationOfAServerWhoseExportRan) {
    EXPECT_EQ(CaptureOf(Sample(GetParam(), L"exportingdamaged.exe")), statusFailed);
    EXPECT_FALSE(Exists(Work(L"out.reg")));
    // A first run leaves its tree, with the entries of the export.
    EXPECT_TRUE(KeyExists(HKEY_CURRENT_USER, std::wstring(temporaryKey) + L"\\HKCR\\Keyreap.Exporting"));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

TEST_P(CarriedLibrary, IsRegisteredEvenIfItsFileCannotBeLoaded) {
    const std::wstring file = Sample(GetParam(), L"exportingorphan.exe");
    EXPECT_EQ(CaptureOf(file), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), GoldenOf("library_alone", file)));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

INSTANTIATE_TEST_SUITE_P(InBothBuilds, CarriedLibrary, testing::ValuesIn(bothBuilds), NameOfBuild);

} // namespace

} // namespace keyreap::endtoend
