// The command line: the "p%u" port token, and the flags that settle the way
// in until (and, later, ahead of) the launcher.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "db/SessionMode.h"

namespace lh::app {

struct CommandLine {
    std::optional<uint32_t> port;        // from a "p%u" token, 1 to 65535
    std::optional<db::SessionMode> sessionMode;
    std::string joinAddress;
    std::string userName;                // --user (players)
    std::string gamemasterName;          // --gm (host)
    std::string campaignName;
    std::string rulesetName;
    std::string password;
    std::string identityName;
    std::string workDir;
    std::string scriptFile;              // --script: input to play (test driver)
    uint32_t quitAfterTicks = 0;         // 0: run until told to stop
    bool quitAfterFirstFrame = false;    // for measuring start-up
    uint32_t screenshotAtTick = 0;       // as Print Screen, at that tick
    bool showHelp = false;
    bool showVersion = false;
    std::string error;                   // set when a flag lacks its value or is unknown
};

// Reads argv[1..]. Tokens that are not our flags nor their values follow the
// port rule: split at blanks, an optional leading '-' or '/' dropped, and a
// token that then begins with 'p' is read by "p%u"; anything else is ignored.
CommandLine parseCommandLine(const std::vector<std::string>& args);

// Applies the port rule to one token; true if it is a port token, with the
// number it gives (which may lie outside the ports, to be refused).
bool readPortToken(const std::string& token, uint64_t& port);

const char* commandLineHelp();

}  // namespace lh::app
