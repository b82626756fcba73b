// SPDX-License-Identifier: Apache-2.0
// quillbox runs under resource limits for the hostile-input tests.
#include "hostile/RunLimited.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <sstream>

#if defined(__SANITIZE_ADDRESS__)
#define QB_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define QB_UNDER_ASAN 1
#endif
#endif

namespace qb::test {

namespace {

std::string slurp(const std::filesystem::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

}  // namespace

int startLimited(const std::vector<std::string>& args, const std::filesystem::path& dir,
                 uint64_t maxFileSize) {
    const std::string out = (dir / "stdout.txt").string(), err = (dir / "stderr.txt").string();
    std::vector<std::string> all{QB_QUILLBOX_PATH};
    all.insert(all.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& a : all)
        argv.push_back(a.data());
    argv.push_back(nullptr);

    const pid_t pid = ::fork();
    if (pid != 0) return pid;
#ifndef QB_UNDER_ASAN
    const rlimit memory{rlim_t(1) << 30, rlim_t(1) << 30};
    ::setrlimit(RLIMIT_AS, &memory);
#endif
    const rlimit cpu{20, 20};
    ::setrlimit(RLIMIT_CPU, &cpu);
    if (maxFileSize) {
        // Writes past the limit then fail with EFBIG instead of ending the process.
        ::signal(SIGXFSZ, SIG_IGN);
        const rlimit size{rlim_t(maxFileSize), rlim_t(maxFileSize)};
        ::setrlimit(RLIMIT_FSIZE, &size);
    }
    const int in = ::open("/dev/null", O_RDONLY);
    const int o = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    const int e = ::open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in < 0 || o < 0 || e < 0) ::_exit(126);
    ::dup2(in, 0);
    ::dup2(o, 1);
    ::dup2(e, 2);
    ::execv(argv[0], argv.data());
    ::_exit(127);
}

LimitedRun finishLimited(int pid, const std::filesystem::path& dir) {
    int raw = 0;
    while (::waitpid(pid, &raw, 0) < 0)
        if (errno != EINTR) return {};
    LimitedRun r;
    r.exited = WIFEXITED(raw);
    r.status = r.exited ? WEXITSTATUS(raw) : WTERMSIG(raw);
    r.out = slurp(dir / "stdout.txt");
    r.err = slurp(dir / "stderr.txt");
    return r;
}

LimitedRun runLimited(const std::vector<std::string>& args, const std::filesystem::path& dir,
                      uint64_t maxFileSize) {
    return finishLimited(startLimited(args, dir, maxFileSize), dir);
}

}  // namespace qb::test
