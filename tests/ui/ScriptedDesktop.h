// The built program on a small Ruleset of its own, driven by a script:
// a working directory with the Ruleset's files, a run as host (manual clock,
// a free port, a trace), and the screenshots the script took, read back.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/TestSupport.h"
#include "ui/PictureDecoder.h"

namespace lh::test {

// A screenshot, read back; `at` answers a pixel as 0xRRGGBB.
struct Shot {
    ui::PixelImage image;
    uint32_t at(uint32_t x, uint32_t y) const;
};

class ScriptedDesktop {
public:
    // The Ruleset's folder is "rulesets/NAME" in a fresh working directory;
    // `baseXml` is its base.xml.
    ScriptedDesktop(std::string rulesetName, const std::string& baseXml);

    // A picture of one colour (0xAARRGGBB), size by size, in the Ruleset's folder.
    void writeSquare(const std::string& fileName, uint32_t size, uint32_t argb) const;
    // The program as host of a Campaign on the Ruleset, playing `script`;
    // answers its exit code, and keeps what it wrote on standard error.
    int runHost(const std::string& script);
    // The arguments and environment of such a run, for tests that start
    // the program themselves (beside a client, say).
    std::vector<std::string> hostArguments(uint16_t port) const;
    std::string tracePath() const { return (work.path() / "trace.txt").string(); }
    std::string trace() const { return readFile(work.path() / "trace.txt"); }
    // NAME.png of the working directory; a missing or broken picture fails
    // the test and reads as all black.
    Shot shot(const std::string& name) const;

    TempDir work;
    std::string errors;

private:
    std::string ruleset;
};

}  // namespace lh::test
