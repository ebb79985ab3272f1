#include "platform/os/wow64entry.h"

#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

std::vector<PVOID> reverted;

BOOL WINAPI RecordRevert(PVOID savedValue) {
    reverted.push_back(savedValue);
    return TRUE;
}

BOOL WINAPI NeverDisable(PVOID*) {
    ADD_FAILURE() << "nothing here suspends redirection";
    return FALSE;
}

class Wow64EntryTest : public testing::Test {
protected:
    Wow64EntryTest() { reverted.clear(); }

    int saved = 0;
    FsRedirectionGuard guard{&saved, true};
};

TEST_F(Wow64EntryTest, ResolvesTheEntriesOfTheSystem) {
    Wow64Entry entry;
    EnsureWow64Entry(entry);
    EXPECT_TRUE(entry.isResolved);
    EXPECT_TRUE(entry.kernel.Valid());
    EXPECT_NE(entry.disable, nullptr);
    EXPECT_NE(entry.revert, nullptr);
}

TEST_F(Wow64EntryTest, ASecondLookupDoesNothing) {
    Wow64Entry entry;
    entry.isResolved = true;
    entry.disable = NeverDisable;
    EnsureWow64Entry(entry);
    EXPECT_EQ(entry.disable, &NeverDisable);
    EXPECT_EQ(entry.revert, nullptr);
    EXPECT_FALSE(entry.kernel.Valid());
}

TEST_F(Wow64EntryTest, TheProcessHasOneRecord) {
    const Wow64Entry& entry = EnsureWow64Entry();
    EXPECT_TRUE(entry.isResolved);
    EXPECT_EQ(&entry, &EnsureWow64Entry());
}

TEST_F(Wow64EntryTest, RevertReturnsTheSavedValueOnce) {
    Wow64Entry entry;
    entry.revert = RecordRevert;
    RevertFsRedirection(guard, entry);
    EXPECT_FALSE(guard.suspended);
    RevertFsRedirection(guard, entry);
    EXPECT_EQ(reverted, std::vector<PVOID>{&saved});
}

TEST_F(Wow64EntryTest, RevertDoesNothingOnAGuardThatIsNotSet) {
    Wow64Entry entry;
    entry.revert = RecordRevert;
    FsRedirectionGuard untouched;
    RevertFsRedirection(untouched, entry);
    EXPECT_TRUE(reverted.empty());
    RevertFsRedirection(untouched);
    EXPECT_FALSE(untouched.suspended);
}

TEST_F(Wow64EntryTest, RevertDoesNothingOnASystemWithoutTheEntries) {
    const Wow64Entry entry;
    RevertFsRedirection(guard, entry);
    EXPECT_TRUE(guard.suspended);
    EXPECT_EQ(guard.savedValue, &saved);
}

TEST_F(Wow64EntryTest, ASuspensionOfTheRealRedirectionEnds) {
    const Wow64Entry& entry = EnsureWow64Entry();
    FsRedirectionGuard real;
    entry.disable(&real.savedValue);
    real.suspended = true;
    RevertFsRedirection(real);
    EXPECT_FALSE(real.suspended);
}

} // namespace
} // namespace keyreap
