/* Runs a program with waitid(P_PIDFD, ...) refused as by a kernel that predates
 * it. Under qemu-user 7.2 that probe succeeds while clone(CLONE_PIDFD) fails, so
 * Qt's QProcess would take a child pid of -1 and later signal it (kill(-1, ...):
 * every process). Refused, Qt starts children with plain fork() and gets real pids.
 * The filter is inherited by everything the program starts. */
#include <errno.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#if defined(__x86_64__)
#define HOST_AUDIT_ARCH AUDIT_ARCH_X86_64
#elif defined(__aarch64__)
#define HOST_AUDIT_ARCH AUDIT_ARCH_AARCH64
#else
#error "add this machine's audit architecture"
#endif

#define P_PIDFD_ID 3

int main(int argc, char** argv)
{
    if (argc < 2) {
        fprintf(stderr, "usage: %s PROGRAM [ARGUMENT...]\n", argv[0]);
        return 2;
    }
    struct sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, HOST_AUDIT_ARCH, 0, 4),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_waitid, 0, 2),
        /* idtype is the low half of the first argument (little endian) */
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(struct seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, P_PIDFD_ID, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | (EINVAL & SECCOMP_RET_DATA)),
    };
    struct sock_fprog program = {sizeof filter / sizeof filter[0], filter};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0
        || prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0) {
        fprintf(stderr, "without_pidfd: cannot install the filter: %s\n", strerror(errno));
        return 125;
    }
    execvp(argv[1], argv + 1);
    fprintf(stderr, "without_pidfd: cannot run %s: %s\n", argv[1], strerror(errno));
    return 127;
}
