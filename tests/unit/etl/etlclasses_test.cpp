#include "etl/etlclasses.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST(KernelClass, TheGroupInTheHighByteDecides) {
    EXPECT_EQ(KernelClass(0x0000), etlclass::eventTrace);
    EXPECT_EQ(KernelClass(0x0050), etlclass::eventTrace);
    EXPECT_EQ(KernelClass(0x010A), etlclass::diskIo);
    EXPECT_EQ(KernelClass(0x020A), etlclass::pageFault);
    EXPECT_EQ(KernelClass(0x0301), etlclass::process);
    EXPECT_EQ(KernelClass(0x0440), etlclass::fileIo);
    EXPECT_EQ(KernelClass(0x0503), etlclass::thread);
    EXPECT_EQ(KernelClass(0x060A), etlclass::tcpIp);
    EXPECT_EQ(KernelClass(0x080A), etlclass::udpIp);
    EXPECT_EQ(KernelClass(0x0916), etlclass::registry);
    EXPECT_EQ(KernelClass(0x0B0A), etlclass::systemConfig);
    EXPECT_EQ(KernelClass(0x0F2E), etlclass::perfInfo);
    EXPECT_EQ(KernelClass(0x1403), etlclass::image);
    EXPECT_EQ(KernelClass(0x1820), etlclass::stackWalk);
    EXPECT_EQ(KernelClass(0x1A21), etlclass::alpc);
    EXPECT_EQ(KernelClass(0x1B20), etlclass::splitIo);
}

TEST(KernelClass, AnImageIsLoadedInTheProcessGroup) {
    EXPECT_EQ(KernelClass(0x030A), etlclass::image);
    EXPECT_EQ(KernelClass(0x030B), etlclass::process);
}

TEST(KernelClass, AGroupWithoutPublishedClassHasNone) {
    EXPECT_EQ(KernelClass(0x0700), Guid{});
    EXPECT_EQ(KernelClass(0x1C00), Guid{});
    EXPECT_EQ(KernelClass(0xFFFF), Guid{});
}

TEST(KernelClass, RegistryEventsHaveThePublishedGuid) {
    const Guid published{0xae53722e, 0xc863, 0x11d2, {0x86, 0x59, 0x00, 0xc0, 0x4f, 0xa3, 0x21, 0xa1}};
    EXPECT_EQ(KernelClass(0x090A), published);
}

} // namespace
} // namespace keyreap
