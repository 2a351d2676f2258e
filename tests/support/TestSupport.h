// Helpers shared by the test programs: scratch folders and child processes.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace lh::test {

// A fresh folder under the system temp dir, removed again on destruction.
class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    const std::filesystem::path& path() const { return dir; }
    std::string str() const { return dir.string(); }

private:
    std::filesystem::path dir;
};

void writeFile(const std::filesystem::path& path, const std::string& bytes);
std::string readFile(const std::filesystem::path& path);

// Path of a program built in this tree, such as "lorehaven".
std::string builtProgram(const std::string& name);

// A child process with its stdout and stderr sent to files.
class ChildProcess {
public:
    ChildProcess(const std::string& program, const std::vector<std::string>& args,
                 const std::vector<std::string>& extraEnv = {});
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int pid() const { return childPid; }
    // Waits up to the timeout. Returns the exit code (0..255), 128+signal for a
    // signal, or -1 if the child still runs.
    int wait(std::chrono::milliseconds timeout);
    void signal(int sig);
    bool running();
    std::string output() const;  // stdout so far
    std::string errors() const;  // stderr so far

private:
    int childPid = -1;
    int status = -1;
    bool reaped = false;
    TempDir logs;
};

// Waits until a line of the trace file holds exactly `line` after its time
// stamp. False once the process ends without it, or after `timeout`; each
// look waits on the process itself, so a loaded machine is only slower.
bool waitForTracedLine(ChildProcess& process, const std::filesystem::path& trace, const std::string& line,
                       std::chrono::milliseconds timeout = std::chrono::seconds(60));

// A TCP port on loopback that nothing listens on at the moment of asking.
uint16_t freeTcpPort();

// Script steps by which a joining player, whom the Desktop keeps waiting on
// the choice of character, makes a new character `name` and takes it.
std::string newCharacterSteps(const std::string& name);

}  // namespace lh::test
