// Runs a program for which the kernel has no pidfd_open: without_pidfd PROGRAM ARGUMENTS...

#include <cerrno>
#include <cstddef>
#include <cstdio>

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

int main(int argc, char* argv[])
{
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_pidfd_open, 0, 1),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
                          BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    const sock_fprog filter{sizeof(code) / sizeof(code[0]), code};
    if (argc < 2 || prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) != 0 ||
        syscall(SYS_pidfd_open, getpid(), 0) >= 0 || errno != ENOSYS) {
        std::perror("without_pidfd");
        return 1;
    }
    execv(argv[1], argv + 1);
    std::perror(argv[1]);
    return 1;
}
