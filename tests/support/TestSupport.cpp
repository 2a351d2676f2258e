// Helpers shared by the test programs: scratch folders and child processes.
#include "support/TestSupport.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

namespace lh::test {

namespace fs = std::filesystem;

TempDir::TempDir() {
    std::random_device rd;
    for (;;) {
        fs::path candidate = fs::temp_directory_path() /
                             ("lorehaven-test-" + std::to_string(getpid()) + "-" + std::to_string(rd()));
        std::error_code ec;
        if (fs::create_directory(candidate, ec)) {
            dir = candidate;
            return;
        }
    }
}

TempDir::~TempDir() {
    std::error_code ec;
    fs::remove_all(dir, ec);
}

void writeFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary);
    out << bytes;
}

std::string readFile(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

bool waitForTracedLine(ChildProcess& process, const fs::path& trace, const std::string& line,
                       std::chrono::milliseconds timeout) {
    const std::string wanted = " " + line + "\n";
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    for (;;) {
        if (readFile(trace).find(wanted) != std::string::npos) return true;
        if (std::chrono::steady_clock::now() >= deadline) return false;
        if (process.wait(std::chrono::milliseconds(50)) != -1) return readFile(trace).find(wanted) != std::string::npos;
    }
}

std::string builtProgram(const std::string& name) { return std::string(LOREHAVEN_BINARY_DIR) + "/" + name; }

std::string newCharacterSteps(const std::string& name) {
    return "await window opened identityselection\n"
           "click left 420 290\n"  // the row that makes a new character
           "text " + name + "\n"
           "key Return\n"
           "await identity chosen " + name + "\n";
}

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const std::vector<std::string>& extraEnv) {
    std::string outPath = (logs.path() / "stdout").string();
    std::string errPath = (logs.path() / "stderr").string();
    childPid = fork();
    if (childPid == 0) {
        int out = open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(out, 1);
        dup2(err, 2);
        int devnull = open("/dev/null", O_RDONLY);
        dup2(devnull, 0);
        for (const std::string& e : extraEnv) putenv(strdup(e.c_str()));
        std::vector<char*> argv;
        argv.push_back(const_cast<char*>(program.c_str()));
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
}

ChildProcess::~ChildProcess() {
    if (childPid > 0 && !reaped) {
        kill(childPid, SIGKILL);
        waitpid(childPid, &status, 0);
    }
}

int ChildProcess::wait(std::chrono::milliseconds timeout) {
    auto deadline = std::chrono::steady_clock::now() + timeout;
    while (!reaped) {
        pid_t r = waitpid(childPid, &status, WNOHANG);
        if (r == childPid) {
            reaped = true;
            break;
        }
        if (std::chrono::steady_clock::now() >= deadline) return -1;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    if (WIFEXITED(status)) return WEXITSTATUS(status);
    if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
    return -1;
}

void ChildProcess::signal(int sig) {
    if (!reaped) kill(childPid, sig);
}

bool ChildProcess::running() { return wait(std::chrono::milliseconds(0)) == -1; }

std::string ChildProcess::output() const { return readFile(logs.path() / "stdout"); }
std::string ChildProcess::errors() const { return readFile(logs.path() / "stderr"); }

uint16_t freeTcpPort() {
    int fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    bind(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr);
    socklen_t len = sizeof addr;
    getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len);
    close(fd);
    return ntohs(addr.sin_port);
}

}  // namespace lh::test
