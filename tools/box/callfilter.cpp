#include "tools/box/callfilter.h"

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/sched.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstddef>

namespace keyreap {
namespace {

static_assert(sizeof(FilterStep) == sizeof(sock_filter));

// Calls that the headers of older releases don't have; their numbers are the same on all machines.
constexpr std::uint32_t memfdSecret = 447;
constexpr std::uint32_t fchmodat2 = 452;

// The only call of the 32-bit mode that Wine makes: the segment of a 32-bit thread.
constexpr std::uint32_t setThreadArea = 243;

constexpr std::uint32_t ofX32 = 0x40000000; // the bit of calls of the x32 mode

struct RefusedCall {
    std::uint32_t number;
    int error;
};

// A program does without a call that the kernel seems to lack; Wine takes a temporary file for a memfd.
constexpr std::array<RefusedCall, 15> refused = {{
    {SYS_shmget, ENOSYS},
    {SYS_memfd_create, ENOSYS},
    {memfdSecret, ENOSYS},
    {SYS_add_key, ENOSYS},
    {SYS_request_key, ENOSYS},
    {SYS_keyctl, ENOSYS},
    {SYS_io_uring_setup, ENOSYS},
    {SYS_io_uring_enter, ENOSYS},
    {SYS_io_uring_register, ENOSYS},
    {SYS_openat2, ENOSYS}, // its mode is in memory, too
    {SYS_bpf, EPERM},
    {SYS_perf_event_open, EPERM},
    {SYS_userfaultfd, EPERM},
    {SYS_setns, EPERM},
    // Its flags are in memory, where a filter can't look; the libraries then use clone.
    {SYS_clone3, ENOSYS},
}};

// Refused if the argument has one of these bits, and the other one, if there is a condition, has one of its
// own.
struct RefusedBits {
    std::uint32_t number;
    std::uint32_t argument;
    std::uint32_t bits;
    std::uint32_t conditionArgument = 0;
    std::uint32_t conditionBits = 0;
};

constexpr std::uint32_t owners = S_ISUID | S_ISGID;
constexpr std::uint32_t creates = O_CREAT | 020000000; // and O_TMPFILE; without one of them there is no mode

constexpr std::array<RefusedBits, 14> refusedBits = {{
    {SYS_chmod, 1, owners},
    {SYS_fchmod, 1, owners},
    {SYS_fchmodat, 2, owners},
    {fchmodat2, 2, owners},
    {SYS_creat, 1, owners},
    {SYS_open, 2, owners, 1, creates},
    {SYS_openat, 3, owners, 2, creates},
    {SYS_mkdir, 1, owners},
    {SYS_mkdirat, 2, owners},
    {SYS_mknod, 1, owners},
    {SYS_mknodat, 2, owners},
    // Pages of it that no process has any more stay in memory, and nothing shows them.
    {SYS_mmap, 3, MAP_SHARED, 3, MAP_ANONYMOUS},
    {SYS_unshare, 0, CLONE_NEWUSER},
    {SYS_clone, 0, CLONE_NEWUSER},
}};

constexpr std::array<std::uint32_t, 4> families = {AF_UNIX, AF_INET, AF_INET6, AF_NETLINK};

class Filter {
public:
    std::vector<FilterStep> Made() {
        AddMachineModes();
        Add(BPF_JMP | BPF_JGE | BPF_K, 0, 1, ofX32);
        Refuse(ENOSYS);
        for (const RefusedCall& call : refused) {
            Add(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, call.number);
            Refuse(call.error);
        }
        for (const RefusedBits& call : refusedBits) {
            AddBits(call);
        }
        AddFamilies();
        Allow();
        return std::move(steps);
    }

private:
    void Add(std::uint32_t code, std::uint8_t ifTrue, std::uint8_t ifFalse, std::uint32_t value) {
        steps.push_back({static_cast<std::uint16_t>(code), ifTrue, ifFalse, value});
    }

    void Load(std::size_t offset) { Add(BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<std::uint32_t>(offset)); }
    void Refuse(int error) {
        Add(BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error));
    }
    void Allow() { Add(BPF_RET | BPF_K, 0, 0, SECCOMP_RET_ALLOW); }

    // Continues with the number of a 64-bit call.
    void AddMachineModes() {
        Load(offsetof(seccomp_data, arch));
        Add(BPF_JMP | BPF_JEQ | BPF_K, 4, 0, AUDIT_ARCH_X86_64);
        Load(offsetof(seccomp_data, nr));
        Add(BPF_JMP | BPF_JEQ | BPF_K, 0, 1, setThreadArea);
        Allow();
        Refuse(ENOSYS);
        Load(offsetof(seccomp_data, nr));
    }

    // The low half of an argument; this machine stores it first.
    static std::size_t OffsetOf(std::uint32_t argument) {
        return offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t);
    }

    void AddBits(const RefusedBits& call) {
        const bool hasCondition = call.conditionBits != 0;
        Add(BPF_JMP | BPF_JEQ | BPF_K, 0, hasCondition ? 6 : 4, call.number);
        if (hasCondition) {
            Load(OffsetOf(call.conditionArgument));
            Add(BPF_JMP | BPF_JSET | BPF_K, 0, 3, call.conditionBits);
        }
        Load(OffsetOf(call.argument));
        Add(BPF_JMP | BPF_JSET | BPF_K, 0, 1, call.bits);
        Refuse(EPERM);
        Allow();
    }

    void AddFamilies() {
        constexpr auto count = static_cast<std::uint8_t>(families.size());
        Add(BPF_JMP | BPF_JEQ | BPF_K, 0, count + 2, SYS_socket);
        Load(OffsetOf(0));
        for (std::uint8_t i = 0; i < count; i++) {
            Add(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint8_t>(count - i), 0, families[i]);
        }
        Refuse(EAFNOSUPPORT);
    }

    std::vector<FilterStep> steps;
};

} // namespace

std::vector<FilterStep> RefusedCalls() {
    return Filter().Made();
}

std::string RefusedCallBytes() {
    const std::vector<FilterStep> steps = RefusedCalls();
    return {reinterpret_cast<const char*>(steps.data()), steps.size() * sizeof(FilterStep)};
}

} // namespace keyreap
