#include "ScriptedDesktop.h"

#include <gtest/gtest.h>

#include <chrono>

#include "RulesetFixture.h"

namespace lh::test {

using namespace std::chrono_literals;

uint32_t Shot::at(uint32_t x, uint32_t y) const {
    if (x >= image.width || y >= image.height) return 0;
    return image.pixels[size_t(y) * image.width + x] & 0xFFFFFF;
}

ScriptedDesktop::ScriptedDesktop(std::string rulesetName, const std::string& baseXml)
    : ruleset(std::move(rulesetName)) {
    writeFile(work.path() / "rulesets" / ruleset / "base.xml", baseXml);
}

void ScriptedDesktop::writeSquare(const std::string& fileName, uint32_t size, uint32_t argb) const {
    writeFile(work.path() / "rulesets" / ruleset / fileName,
              pngBytes(size, size, std::vector<uint32_t>(size_t(size) * size, argb)));
}

std::vector<std::string> ScriptedDesktop::hostArguments(uint16_t port) const {
    return {"--workdir", work.str(),  "--host",   "--campaign", "C", "--gm", "GM", "--ruleset",
            ruleset,     "--script",  (work.path() / "steps.txt").string(), "p" + std::to_string(port)};
}

int ScriptedDesktop::runHost(const std::string& script) {
    writeFile(work.path() / "steps.txt", script);
    ChildProcess program(builtProgram("lorehaven"), hostArguments(freeTcpPort()),
                         {"LOREHAVEN_TRACE=" + tracePath(), "LOREHAVEN_CLOCK=manual"});
    const int code = program.wait(120s);
    errors = program.errors();
    return code;
}

Shot ScriptedDesktop::shot(const std::string& name) const {
    Shot s;
    std::string png = readFile(work.path() / (name + ".png"));
    EXPECT_TRUE(ui::decodePicture(png.data(), png.size(), s.image)) << name;
    if (s.image.pixels.empty()) s.image = {1024, 768, std::vector<uint32_t>(1024 * 768, 0)};
    return s;
}

}  // namespace lh::test
