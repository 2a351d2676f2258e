// What the tests that start the subsystems whole share: the Gamemaster's
// tree and Desktop on a test Ruleset, and afterwards the windows closed
// (the process's Desktop outlives each test), the subsystems stopped, and
// the tree, the Identities and the Ruleset emptied.
#pragma once

#include <gtest/gtest.h>

#include "../ui/DesktopFixture.h"
#include "db/DbNode.h"
#include "db/SessionMode.h"
#include "net/Session.h"
#include "ui/Desktop.h"
#include "ui/Identities.h"
#include "ui/RulesetData.h"
#include "ui/Subsystems.h"
#include "ui/Window.h"

namespace lh::test {

class WholeProgram : public ::testing::Test {
protected:
    // The host's tree and Ruleset; the subsystems are started by start().
    void hostOn(const char* ruleset) {
        db::clearTree();
        db::setSessionMode(db::SessionMode::Host);
        loadWindowRuleset(ruleset);
        session.becomeHost();
    }
    void start() { ui::startSubsystems({db::SessionMode::Host, ui::desktop(), &session, nullptr}); }
    void TearDown() override {
        while (!ui::desktop().windows.empty()) ui::desktop().Remove(ui::desktop().windows.back().get());
        ui::desktop().CollectClosed();
        ui::stopSubsystems();
        ui::identities().clear();
        db::clearTree();
        ui::clearRuleset();
    }

    net::Session session;
};

}  // namespace lh::test
