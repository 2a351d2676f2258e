// The command line.
#include "app/CommandLine.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace lh::app {

namespace {

struct ValueFlag {
    const char* name;
    std::string CommandLine::*field;
};

const ValueFlag kValueFlags[] = {
    {"--user", &CommandLine::userName},         {"--gm", &CommandLine::gamemasterName},
    {"--campaign", &CommandLine::campaignName}, {"--ruleset", &CommandLine::rulesetName},
    {"--password", &CommandLine::password},     {"--identity", &CommandLine::identityName},
    {"--workdir", &CommandLine::workDir},      {"--script", &CommandLine::scriptFile},
};

void splitAtBlanks(const std::string& arg, std::vector<std::string>& out) {
    std::string token;
    for (char c : arg) {
        if (c == ' ' || c == '\t') {
            if (!token.empty()) out.push_back(token);
            token.clear();
        } else {
            token.push_back(c);
        }
    }
    if (!token.empty()) out.push_back(token);
}

}  // namespace

bool readPortToken(const std::string& token, uint64_t& port) {
    const char* t = token.c_str();
    if (*t == '-' || *t == '/') ++t;
    if (*t != 'p' || t[1] < '0' || t[1] > '9') return false;
    // The leading digits, as "p%u" reads them; a value that does not fit
    // stays above every port rather than wrapping round to one.
    uint64_t value = 0;
    for (++t; *t >= '0' && *t <= '9'; ++t) value = std::min<uint64_t>(value * 10 + uint64_t(*t - '0'), UINT32_MAX + 1ull);
    port = value;
    return true;
}

CommandLine parseCommandLine(const std::vector<std::string>& args) {
    CommandLine cl;
    std::vector<std::string> loose;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        auto needValue = [&](std::string& into) {
            if (i + 1 >= args.size()) {
                cl.error = a + " needs a value";
                return;
            }
            into = args[++i];
        };
        if (a == "--help" || a == "-h") {
            cl.showHelp = true;
        } else if (a == "--version") {
            cl.showVersion = true;
        } else if (a == "--host") {
            cl.sessionMode = db::SessionMode::Host;
        } else if (a == "--local") {
            cl.sessionMode = db::SessionMode::LocalCharacters;
        } else if (a == "--join") {
            cl.sessionMode = db::SessionMode::Join;
            needValue(cl.joinAddress);
        } else if (a == "--quit-after-first-frame") {
            cl.quitAfterFirstFrame = true;
        } else if (a == "--quit-after-ticks" || a == "--screenshot-at-tick") {
            std::string n;
            needValue(n);
            char* end = nullptr;
            unsigned long v = std::strtoul(n.c_str(), &end, 10);
            if (n.empty() || *end != 0 || v == 0 || v > 0xFFFFFFFFul) {
                if (cl.error.empty()) cl.error = a + " needs a positive number";
            } else {
                (a == "--quit-after-ticks" ? cl.quitAfterTicks : cl.screenshotAtTick) = uint32_t(v);
            }
        } else {
            bool matched = false;
            for (const ValueFlag& f : kValueFlags) {
                if (a == f.name) {
                    needValue(cl.*(f.field));
                    matched = true;
                    break;
                }
            }
            if (!matched && a.size() > 2 && a.compare(0, 2, "--") == 0 && cl.error.empty()) {
                cl.error = "unknown option " + a;
            }
            if (!matched) splitAtBlanks(a, loose);
        }
    }
    for (const std::string& token : loose) {
        uint64_t port;
        if (!readPortToken(token, port)) continue;
        if (port >= 1 && port <= 65535) {
            cl.port = uint32_t(port);
        } else if (cl.error.empty()) {
            std::string given = port > UINT32_MAX ? token.substr(token.find('p') + 1) : std::to_string(port);
            cl.error = "the port must be a number from 1 to 65535, not " + given;
        }
    }
    return cl;
}

const char* commandLineHelp() {
    return "Usage: lorehaven [options] [pPORT]\n"
           "\n"
           "A virtual tabletop for pen-and-paper role-playing games.\n"
           "\n"
           "The way in (the launcher asks when these do not settle it):\n"
           "  --host                 host a Campaign as the Gamemaster\n"
           "  --join ADDRESS         join the game at ADDRESS as a player\n"
           "  --local                create and view local characters\n"
           "  --gm NAME              the Gamemaster's name (host); without it he\n"
           "                         speaks as the Narrator, and needs --user\n"
           "  --user NAME            the player's user name (join; host: defaults\n"
           "                         to the Gamemaster's name)\n"
           "  --campaign NAME        the Campaign to open or create (host)\n"
           "  --ruleset NAME         the Ruleset of a new Campaign (host)\n"
           "  --password TEXT        the session password\n"
           "  --identity NAME        the Identity to take on after joining, or the\n"
           "                         local character to open with --local\n"
           "  --workdir DIR          the working directory (default: the current one)\n"
           "\n"
           "  pPORT, -pPORT, /pPORT  the TCP port of the session, 1 to 65535 (default 1802)\n"
           "\n"
           "  --quit-after-ticks N   end with exit code 0 after N ticks of 30 ms (for tests)\n"
           "  --quit-after-first-frame  end with exit code 0 once the first frame is shown\n"
           "  --screenshot-at-tick N take a screenshot at tick N, as Print Screen does\n"
           "  --script FILE          play the input steps of FILE (one a line):\n"
           "                           move X Y | down|up BUTTON [X Y] | click BUTTON X Y |\n"
           "                           wheel STEPS | keydown|keyup|key KEY [shift|ctrl|alt] |\n"
           "                           text TEXT | wait MS | await TEXT | screenshot NAME |\n"
           "                           resize W H | quit CODE (await: until a trace line\n"
           "                           holds TEXT; resize: the main window's client area)\n"
           "                         BUTTON is left, right or middle; '#' starts a comment\n"
           "  --help                 show this text\n"
           "  --version              show the version\n"
           "\n"
           "Environment: SDL_VIDEODRIVER=offscreen runs without a display (message boxes\n"
           "go to standard error); LOREHAVEN_CONFIG_DIR holds the remembered settings.\n"
           "  LOREHAVEN_SCRIPT=FILE   as --script FILE\n"
           "  LOREHAVEN_TRACE=FILE    append a line per event to FILE as it happens:\n"
           "                          MS started | MS frame | MS script LINE TEXT |\n"
           "                          MS screenshot FILE |\n"
           "                          MS sent|received TAG BYTES PEER | MS record PATH |\n"
           "                          MS window opened|closed CLASS RECORD | MS menu opened X Y |\n"
           "                          MS menu chosen ID | MS drag started X Y |\n"
           "                          MS bookmark stored|recalled N CLASS RECORD |\n"
           "                          MS desktop sized W H |\n"
           "                          MS quit CODE (MS: the program's clock)\n"
           "  LOREHAVEN_CLOCK=manual  the program's clock moves only by the script's waits,\n"
           "                          so timers and trace stamps repeat exactly\n";
}

}  // namespace lh::app
