// The launcher driven by a script in place of a person: its checks, its
// words, its flow between the dialogs and the values it remembers.
#include <gtest/gtest.h>

#include <cstdlib>
#include <deque>
#include <functional>

#include "net/Launcher.h"
#include "platform/Paths.h"
#include "platform/Registry.h"
#include "support/TestSupport.h"

using namespace lh::net;

namespace {

// Each dialog shown takes the next step of the script, which presses buttons
// on the model; boxes are recorded as "title|text".
struct ScriptedUi : LauncherUi {
    std::deque<std::function<int(void*)>> steps;
    std::vector<std::string> boxes;
    std::vector<std::string> shown;
    LauncherFields* fields = nullptr;    // what the dialog being shown writes back into
    CampaignChoice* choice = nullptr;

    void showBox(const std::string& title, const std::string& text) override { boxes.push_back(title + "|" + text); }
    int next(const char* name, void* dialog) {
        shown.push_back(name);
        if (steps.empty()) return -1;
        auto step = steps.front();
        steps.pop_front();
        return step(dialog);
    }
    int runMainMenu(MainMenu& m) override { return next("menu", &m); }
    int runConnectionProperties(ConnectionProperties& d, LauncherFields& f) override {
        fields = &f;
        return next("connection", &d);
    }
    int runSelectRuleset(SelectRuleset& d, std::string&) override { return next("ruleset", &d); }
    int runHostOptions(HostOptions& d, const HostOptionsServices&, CampaignChoice& c) override {
        choice = &c;
        return next("host", &d);
    }
    // Runs an outcome as a front end would: a box, then stay or end.
    int outcome(const DialogOutcome& o) {
        if (!o.boxTitle.empty()) showBox(o.boxTitle, o.boxText);
        return o.ends ? o.result : 99;  // 99: stayed
    }
};

struct Sandbox {
    lh::test::TempDir dir;
    std::string oldConfig;
    Sandbox() {
        const char* c = std::getenv("LOREHAVEN_CONFIG_DIR");
        oldConfig = c ? c : "";
        setenv("LOREHAVEN_CONFIG_DIR", (dir.path() / "config").c_str(), 1);
        lh::platform::setWorkingDirectory(dir.path());
    }
    ~Sandbox() { setenv("LOREHAVEN_CONFIG_DIR", oldConfig.c_str(), 1); }
};

}  // namespace

TEST(Launcher, ConnectionPropertiesChecksInOrderWithTheirWords) {
    ConnectionProperties d;
    LauncherFields fields;
    d.open(lh::db::SessionMode::Host, fields);
    EXPECT_TRUE(d.userEditable);  // first start: nothing remembered
    EXPECT_FALSE(d.showChange);
    EXPECT_EQ(d.focus, ConnectionProperties::FieldUser);
    EXPECT_EQ(d.startLabel, "Continue");
    EXPECT_TRUE(d.showGamemaster);
    EXPECT_FALSE(d.showAddress);

    DialogOutcome o = d.pressStart(fields);
    EXPECT_FALSE(o.ends);
    EXPECT_EQ(o.boxTitle, "Required parameter missing");
    EXPECT_EQ(o.boxText, "Specify a user name.");
    d.userName = "   ";  // blanks pass: the check is for an empty field
    o = d.pressStart(fields);
    EXPECT_EQ(o.boxText, "You must specify a Gamemaster name.");
    EXPECT_EQ(d.focus, ConnectionProperties::FieldGamemaster);
    d.gamemasterName = std::string(80, 'g');
    o = d.pressStart(fields);
    EXPECT_TRUE(o.ends);
    EXPECT_EQ(o.result, 1);
    EXPECT_EQ(fields.gamemasterName.size(), 49u);  // a 50-byte field

    ConnectionProperties client;
    client.open(lh::db::SessionMode::Join, fields);
    EXPECT_EQ(client.startLabel, "Start");
    EXPECT_TRUE(client.showAddress);
    EXPECT_FALSE(client.userEditable);  // a remembered name stays read-only...
    EXPECT_TRUE(client.showChange);
    client.pressChange();               // ...until "Change"
    EXPECT_TRUE(client.userEditable);
    EXPECT_FALSE(client.showChange);
    EXPECT_EQ(client.pressStart(fields).boxText, "You must specify the address to connect to");
    EXPECT_EQ(client.focus, ConnectionProperties::FieldAddress);
    EXPECT_EQ(client.pressBack().result, 0);
    EXPECT_EQ(client.close().result, -1);

    EXPECT_EQ(smallDesktopWarning(1024, 767).boxTitle, "Unsupported display mode");
    EXPECT_TRUE(smallDesktopWarning(1024, 768).boxTitle.empty());
    EXPECT_EQ(MainMenu().versionText, "v.1.03");
    EXPECT_TRUE(looksLikeAddress("LocalHost"));
    EXPECT_TRUE(looksLikeAddress("10.1.2.3"));
    EXPECT_FALSE(looksLikeAddress("dragonslair"));
}

TEST(Launcher, HostOptionsChecksAndRememberedValuesAcrossTwoRuns) {
    Sandbox box;
    lh::test::writeFile(box.dir.path() / "campaigns/Alpha/db.xml", "<root/>");
    lh::test::writeFile(box.dir.path() / "campaigns/Beta/db.xml", "<root/>");
    lh::test::writeFile(box.dir.path() / "campaigns/NoDb/notes.txt", "x");
    lh::test::writeFile(box.dir.path() / "campaigns/.hidden/db.xml", "<root/>");
    lh::test::writeFile(box.dir.path() / "rulesets/Disk/base.xml", "<root/>");
    lh::test::writeFile(box.dir.path() / "rulesets/Packed/base.xml", "<root/>");
    EXPECT_EQ(listCampaigns(), (std::vector<std::string>{"Alpha", "Beta"}));
    EXPECT_EQ(listRulesets({"Packed"}), (std::vector<std::string>{"Packed", "Disk"}));

    static std::string created;
    HostOptionsServices services;
    services.createCampaignFolder = [](const std::string& name, const std::string& ruleset) {
        created = name + "/" + ruleset;
        return true;
    };
    services.openCampaign = [](const std::string& name) {
        created = "open " + name;
        return true;
    };
    services.refreshAlias = [](const std::string&) { return false; };
    LauncherContext context;
    context.archiveRulesets = [] { return std::vector<std::string>{"Packed"}; };

    // First run: nothing remembered, so "Create new campaign" is on.
    ScriptedUi ui;
    ui.steps.push_back([&](void* p) {
        auto& d = *static_cast<HostOptions*>(p);
        EXPECT_FALSE(d.loadMode);
        EXPECT_EQ(d.addressLine, "192.168.0.9");  // the last address stays
        CampaignChoice& out = *ui.choice;
        EXPECT_EQ(ui.outcome(d.pressStart({}, out)), 99);
        d.newName = "..";
        EXPECT_EQ(ui.outcome(d.pressStart({}, out)), 99);
        d.newName = "Gamma";
        d.toggleAlias(true);
        EXPECT_EQ(ui.outcome(d.pressStart({}, out)), 99);  // no alias yet
        d.toggleAlias(false);
        d.togglePassword(true);
        d.password = "secret";
        d.togglePassword(false);  // still counts as the password
        int r = ui.outcome(d.pressStart(services, out));
        EXPECT_EQ(out.password, "secret");
        EXPECT_EQ(out.name, "Gamma");
        EXPECT_EQ(out.ruleset, "Packed");
        return r;
    });
    CampaignChoice choice;
    EXPECT_EQ(runHostOptions(ui, services, {"10.0.0.2", "192.168.0.9"}, context, choice), 1);
    EXPECT_EQ(created, "Gamma/Packed");
    ASSERT_EQ(ui.boxes.size(), 3u);
    EXPECT_EQ(ui.boxes[0], "Required parameter missing|You must specify a campaign name");
    EXPECT_EQ(ui.boxes[1].substr(0, 22), "Invalid campaign name|");
    EXPECT_EQ(ui.boxes[2],
              "Required parameter missing|You must either disable the address server or generate an alias name");
    EXPECT_EQ(lh::platform::readRegistryValue(kRegistryKey, "LastSession"), "Gamma");
    EXPECT_FALSE(lh::platform::readRegistryValue(kRegistryKey, "SessionKey").has_value());

    // Second run: the last Campaign is selected under "Load campaign" once it
    // has its db.xml.
    lh::test::writeFile(box.dir.path() / "campaigns/Gamma/db.xml", "<root/>");
    lh::platform::writeRegistryValue(kRegistryKey, "SessionKey", "my alias");
    ScriptedUi again;
    again.steps.push_back([&](void* p) {
        auto& d = *static_cast<HostOptions*>(p);
        EXPECT_TRUE(d.loadMode);
        EXPECT_EQ(d.campaigns[size_t(d.selectedCampaign)], "Gamma");
        EXPECT_TRUE(d.useAlias);
        EXPECT_EQ(d.alias, "my alias");
        EXPECT_EQ(d.addressLine, "- error -");
        CampaignChoice& out = *again.choice;
        EXPECT_EQ(again.outcome(d.pressStart(services, out)), 99);  // the refresh failed: stay
        d.toggleAlias(false);
        return again.outcome(d.pressStart(services, out));
    });
    CampaignChoice second;
    EXPECT_EQ(runHostOptions(again, services, {}, context, second), 1);
    EXPECT_EQ(created, "open Gamma");
}

TEST(Launcher, ARememberedAliasWithoutAnAddressServerFailsAsAnUnreachableOne) {
    Sandbox box;
    lh::test::writeFile(box.dir.path() / "campaigns/Alpha/db.xml", "<root/>");
    lh::platform::writeRegistryValue(kRegistryKey, "LastSession", "Alpha");
    lh::platform::writeRegistryValue(kRegistryKey, "SessionKey", "dragonslair");
    static int opened = 0;
    // What the program has until an address server is configured: no
    // alias requests at all.
    HostOptionsServices services;
    services.openCampaign = [](const std::string&) { return ++opened > 0; };
    const std::string unreachable = "Network error|Could not access the address server.\nCheck your internet connection.";

    ScriptedUi ui;
    ui.steps.push_back([&](void* p) {
        auto& d = *static_cast<HostOptions*>(p);
        EXPECT_TRUE(d.useAlias);
        CampaignChoice& out = *ui.choice;
        d.password = "pw";
        EXPECT_EQ(ui.outcome(d.pressStart(services, out)), 99);  // stays, with the box
        EXPECT_EQ(out.password, "pw");
        EXPECT_EQ(opened, 0);
        EXPECT_EQ(ui.outcome(d.pressGenerate(services)), 99);
        EXPECT_EQ(d.alias, "dragonslair");  // nothing came to replace it
        d.toggleAlias(false);
        return ui.outcome(d.pressStart(services, out));
    });
    CampaignChoice choice;
    EXPECT_EQ(runHostOptions(ui, services, {}, LauncherContext{}, choice), 1);
    EXPECT_EQ(ui.boxes, (std::vector<std::string>{unreachable, unreachable}));
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(lh::platform::readRegistryValue(kRegistryKey, "SessionKey"), "dragonslair");
}

TEST(Launcher, FlowBetweenDialogsAndWhatItWrites) {
    Sandbox box;
    LauncherContext context;
    context.screenWidth = 800;
    context.screenHeight = 600;
    int resolves = 0;
    context.resolveHostAddress = [&](std::string& address) {
        ++resolves;
        if (looksLikeAddress(address)) return 0;
        return -1;  // an alias the address server could not translate
    };

    ScriptedUi ui;
    // Host chosen, then "<< Back"; then join with an alias that fails and
    // returns to the menu; then join with a dotted address.
    ui.steps.push_back([](void* p) { return static_cast<MainMenu*>(p)->choose(lh::db::SessionMode::Host).result; });
    ui.steps.push_back([](void* p) { return static_cast<ConnectionProperties*>(p)->pressBack().result; });
    ui.steps.push_back([](void*) { return 0; });  // the fall-through menu: reopen the flow
    LauncherResult result;
    EXPECT_EQ(runLauncher(ui, context, result), 0);  // closing the menu quits
    EXPECT_EQ(ui.boxes.size(), 1u);                   // the small-desktop warning, once
    EXPECT_EQ(ui.shown, (std::vector<std::string>{"menu", "connection", "menu"}));

    ScriptedUi join;
    join.steps.push_back([](void* p) { return static_cast<MainMenu*>(p)->choose(lh::db::SessionMode::Join).result; });
    join.steps.push_back([&](void* p) {
        auto& d = *static_cast<ConnectionProperties*>(p);
        d.userName = "Ann";
        d.hostAddress = "dragonslair";
        return d.pressStart(*join.fields).result;
    });
    join.steps.push_back([](void* p) { return static_cast<MainMenu*>(p)->choose(lh::db::SessionMode::Join).result; });
    join.steps.push_back([&](void* p) {
        auto& d = *static_cast<ConnectionProperties*>(p);
        EXPECT_EQ(d.userName, "Ann");
        EXPECT_FALSE(d.userEditable);
        d.hostAddress = "127.0.0.1";
        return d.pressStart(*join.fields).result;
    });
    LauncherResult joined;
    EXPECT_EQ(runLauncher(join, context, joined), 1);
    EXPECT_EQ(joined.sessionMode, lh::db::SessionMode::Join);
    EXPECT_EQ(resolves, 2);
    EXPECT_EQ(lh::platform::readRegistryValue(kRegistryKey, "LastUsername"), "Ann");
    EXPECT_EQ(lh::platform::readRegistryValue(kRegistryKey, "LastHostAddress"), "127.0.0.1");

    // Local characters pick a Ruleset; closing that dialog quits.
    ScriptedUi local;
    local.steps.push_back([](void* p) { return static_cast<MainMenu*>(p)->choose(lh::db::SessionMode::LocalCharacters).result; });
    local.steps.push_back([](void* p) { return static_cast<SelectRuleset*>(p)->close().result; });
    LauncherResult l;
    EXPECT_EQ(runLauncher(local, context, l), 0);
}
