#include "kit/manifest/flagwords.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(MiscStatusWords, BitsHaveTheirWords) {
    EXPECT_EQ(MiscStatusWords(L"0"), L"");
    EXPECT_EQ(MiscStatusWords(L"1"), L"recomposeonresize");
    EXPECT_EQ(MiscStatusWords(L"131473"),
              L"recomposeonresize,cantlinkinside,insideout,activatewhenvisible,setclientsitefirst");
    EXPECT_EQ(MiscStatusWords(L"3145728"), L"wantstomenumerge,supportsmultilevelundo");
}

TEST(MiscStatusWords, ABitWithoutAWordGivesNone) {
    EXPECT_FALSE(MiscStatusWords(L"524288"));
    EXPECT_FALSE(MiscStatusWords(L"4194304"));
    EXPECT_FALSE(MiscStatusWords(L"524289"));
}

TEST(MiscStatusWords, OnlyDecimalNumbersCount) {
    for (const wchar_t* text : {L"", L"x", L"-1", L"0x1", L"1 ", L"4294967297"}) {
        EXPECT_FALSE(MiscStatusWords(text)) << text;
    }
}

TEST(LibraryFlagWords, BitsHaveTheirWords) {
    EXPECT_EQ(LibraryFlagWords(L"15"), L"restricted,control,hidden,hasdiskimage");
    EXPECT_EQ(LibraryFlagWords(L"0"), L"");
    EXPECT_FALSE(LibraryFlagWords(L"16"));
}

TEST(DecimalVersion, HexadecimalNumbersBecomeDecimalOnes) {
    EXPECT_EQ(DecimalVersion(L"1.0"), L"1.0");
    EXPECT_EQ(DecimalVersion(L"a.10"), L"10.16");
    EXPECT_EQ(DecimalVersion(L"ffff.FFFF"), L"65535.65535");
}

TEST(DecimalVersion, NothingElseIsAVersion) {
    for (const wchar_t* text : {L"", L"1", L"1.", L".1", L"1.0.0", L"x.1", L"10000.0", L"-1.0"}) {
        EXPECT_FALSE(DecimalVersion(text)) << text;
    }
}

TEST(ThreadingModelWord, HasOneSpelling) {
    EXPECT_EQ(ThreadingModelWord(L"both"), L"Both");
    EXPECT_EQ(ThreadingModelWord(L"APARTMENT"), L"Apartment");
    EXPECT_EQ(ThreadingModelWord(L"Neutral"), L"Neutral");
    EXPECT_EQ(ThreadingModelWord(L"free"), L"Free");
    EXPECT_EQ(ThreadingModelWord(L""), L"");
    EXPECT_FALSE(ThreadingModelWord(L"Single"));
    EXPECT_FALSE(ThreadingModelWord(L"Both "));
}

} // namespace
} // namespace keyreap
