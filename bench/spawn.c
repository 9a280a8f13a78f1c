/* Runs one command as the child of this small process and writes the child's
   peak resident memory and CPU time to a report file. A program forked from
   the benchmark runner would count the runner's pages as its own peak. */
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

/* spawn REPORT VLIMIT_KB CMD [ARG...]: VLIMIT_KB 0 means no address-space limit.
   Exits with the child's status (128 + signal when a signal ended it). */
int main(int argc, char **argv) {
    if (argc < 4) {
        fputs("usage: spawn REPORT VLIMIT_KB CMD [ARG...]\n", stderr);
        return 2;
    }
    long long vlimit_kb = atoll(argv[2]);
    pid_t pid = fork();
    if (pid < 0) {
        perror("spawn: fork");
        return 2;
    }
    if (pid == 0) {
        if (vlimit_kb > 0) {
            struct rlimit lim = {(rlim_t)vlimit_kb * 1024, (rlim_t)vlimit_kb * 1024};
            setrlimit(RLIMIT_AS, &lim);
        }
        execvp(argv[3], argv + 3);
        perror(argv[3]);
        _exit(127);
    }
    int status;
    struct rusage ru;
    if (wait4(pid, &status, 0, &ru) < 0) {
        perror("spawn: wait4");
        return 2;
    }
    FILE *out = fopen(argv[1], "w");
    if (!out) {
        perror(argv[1]);
        return 2;
    }
    /* peak kilobytes, then user and system seconds */
    fprintf(out, "%ld %ld.%06ld %ld.%06ld\n", ru.ru_maxrss, (long)ru.ru_utime.tv_sec,
            (long)ru.ru_utime.tv_usec, (long)ru.ru_stime.tv_sec, (long)ru.ru_stime.tv_usec);
    fclose(out);
    return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}
