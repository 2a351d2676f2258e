// The launcher's dialogs drawn with Dear ImGui.
#include "net/LauncherView.h"

#include <imgui.h>
#include <imgui_internal.h>
#include <imgui_stdlib.h>

#include "platform/Encoding.h"

namespace lh::net {

namespace {

constexpr float kWidth = 480.0f;

bool keyPressed(ImGuiKey key) { return ImGui::IsKeyPressed(ImGui::GetKeyIndex(key), false); }

// A button that also takes Return while it has the keyboard focus, and that
// takes the focus itself when `focusNow` (a dialog's default button).
bool button(const char* label, ImVec2 size = ImVec2(0, 0), bool focusNow = false) {
    bool pressed = ImGui::Button(label, size);
    if (focusNow) {
        ImGui::SetFocusID(ImGui::GetItemID(), ImGui::GetCurrentWindow());
        GImGui->NavDisableHighlight = false;
    }
    return pressed || (ImGui::IsItemFocused() && keyPressed(ImGuiKey_Enter));
}

// The banner that every launcher dialog shares: the program's name over a
// gold rule on a dark field.
void banner(const char* subtitle) {
    ImDrawList* draw = ImGui::GetWindowDrawList();
    ImVec2 at = ImGui::GetCursorScreenPos();
    float w = ImGui::GetContentRegionAvail().x;
    draw->AddRectFilledMultiColor(at, ImVec2(at.x + w, at.y + 64), IM_COL32(0x22, 0x1B, 0x2E, 255),
                                  IM_COL32(0x3A, 0x2A, 0x48, 255), IM_COL32(0x22, 0x1B, 0x2E, 255),
                                  IM_COL32(0x14, 0x10, 0x1A, 255));
    draw->AddLine(ImVec2(at.x, at.y + 63), ImVec2(at.x + w, at.y + 63), IM_COL32(0xC8, 0xA0, 0x48, 255), 2.0f);
    ImFont* font = ImGui::GetFont();
    draw->AddText(font, font->FontSize * 2.0f, ImVec2(at.x + 16, at.y + 10), IM_COL32(0xF0, 0xD8, 0x90, 255),
                  "Lorehaven");
    draw->AddText(ImVec2(at.x + 18, at.y + 42), IM_COL32(0xC8, 0xC0, 0xB0, 255), subtitle);
    ImGui::Dummy(ImVec2(w, 72));
}

// An edit field on the program's 8-bit text; ImGui edits UTF-8.
bool editField(const char* label, std::string& text, ImGuiInputTextFlags flags = 0) {
    std::string utf8 = platform::windows1252ToUtf8(text);
    ImGui::SetNextItemWidth(-1);
    if (ImGui::InputText(label, &utf8, flags)) {
        text = platform::utf8ToWindows1252(utf8);
        return true;
    }
    return false;
}

bool comboOf(const char* label, const std::vector<std::string>& items, int& selected, bool enabled) {
    std::string preview = selected >= 0 && selected < int(items.size()) ? items[size_t(selected)] : std::string();
    bool changed = false;
    ImGui::BeginDisabled(!enabled);
    ImGui::SetNextItemWidth(-1);
    if (ImGui::BeginCombo(label, platform::windows1252ToUtf8(preview).c_str())) {
        for (size_t i = 0; i < items.size(); ++i) {
            if (ImGui::Selectable(platform::windows1252ToUtf8(items[i]).c_str(), int(i) == selected)) {
                selected = int(i);
                changed = true;
            }
        }
        ImGui::EndCombo();
    }
    ImGui::EndDisabled();
    return changed;
}

}  // namespace

void ImGuiLauncherUi::showBox(const std::string& title, const std::string& text) {
    boxTitle = title;
    boxText = text;
    // Ends in the first frame after the box is dismissed.
    runDialog(title.c_str(), 0, [] { return DialogOutcome::end(0); });
}

bool ImGuiLauncherUi::drawBox() {
    ImGuiViewport* view = ImGui::GetMainViewport();
    ImGui::OpenPopup("##box");
    ImGui::SetNextWindowPos(ImVec2(view->WorkPos.x + view->WorkSize.x / 2, view->WorkPos.y + view->WorkSize.y / 2),
                            ImGuiCond_Always, ImVec2(0.5f, 0.5f));
    ImGui::SetNextWindowSizeConstraints(ImVec2(280, 0), ImVec2(kWidth - 20, 400));
    bool dismissed = false;
    if (ImGui::BeginPopupModal("##box", nullptr, ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_AlwaysAutoResize)) {
        ImGui::TextColored(ImVec4(0.94f, 0.78f, 0.38f, 1), "%s", platform::windows1252ToUtf8(boxTitle).c_str());
        ImGui::Separator();
        ImGui::TextWrapped("%s", platform::windows1252ToUtf8(boxText).c_str());
        ImGui::Spacing();
        dismissed = ImGui::Button("OK", ImVec2(120, 0)) || keyPressed(ImGuiKey_Enter) || keyPressed(ImGuiKey_Escape);
        if (dismissed) ImGui::CloseCurrentPopup();
        ImGui::EndPopup();
    }
    return dismissed;
}

int ImGuiLauncherUi::runDialog(const char* title, int closeResult, const std::function<DialogOutcome()>& body) {
    dialogStart = true;
    for (;;) {
        if (!host.beginFrame()) return closeResult;
        ImGuiViewport* view = ImGui::GetMainViewport();
        ImGui::SetNextWindowPos(view->WorkPos);
        ImGui::SetNextWindowSize(view->WorkSize);
        ImGui::Begin("##launcher", nullptr,
                     ImGuiWindowFlags_NoDecoration | ImGuiWindowFlags_NoMove | ImGuiWindowFlags_NoSavedSettings);
        banner(title);
        DialogOutcome outcome;
        // While a box stands, the dialog underneath takes no keys: the Return
        // that closes the box must not press the dialog's button again.
        if (!boxTitle.empty()) {
            dialogStart = true;  // focus goes back to the dialog's default after the box
            if (drawBox()) {
                boxTitle.clear();
                boxText.clear();
            }
        } else {
            outcome = body();
            dialogStart = false;
        }
        ImGui::End();
        host.endFrame();
        if (!outcome.boxTitle.empty()) {
            boxTitle = outcome.boxTitle;
            boxText = outcome.boxText;
        }
        if (outcome.ends) return outcome.result;
    }
}

int ImGuiLauncherUi::runMainMenu(MainMenu& menu) {
    return runDialog("Welcome", 0, [&] {
        ImVec2 big(-1, 44);
        if (button("Host a Game as a Gamemaster", big, dialogStart)) return menu.choose(db::SessionMode::Host);
        if (button("Join a Game as a Player", big)) return menu.choose(db::SessionMode::Join);
        if (button("Create and View Local Characters", big)) return menu.choose(db::SessionMode::LocalCharacters);
        ImGui::Spacing();
        const char* help[] = {"Credits", "View OGL", "Quick Tutorial"};
        for (int i = 0; i < 3; ++i) {
            if (i) ImGui::SameLine();
            if (button(help[i]) && openHelp) openHelp(i);
        }
        ImGui::SameLine(ImGui::GetWindowWidth() - 70);
        ImGui::TextDisabled("%s", menu.versionText.c_str());
        if (keyPressed(ImGuiKey_Escape)) return menu.close();
        return DialogOutcome::stay();
    });
}

int ImGuiLauncherUi::runConnectionProperties(ConnectionProperties& d, LauncherFields& fields) {
    bool focusPending = true;
    return runDialog("Connection Properties", -1, [&] {
        auto focusHere = [&](ConnectionProperties::Field f) {
            if (focusPending && d.focus == f) {
                ImGui::SetKeyboardFocusHere();
                focusPending = false;
            }
        };
        ImGui::TextUnformatted("User Name");
        focusHere(ConnectionProperties::FieldUser);
        editField("##user", d.userName, d.userEditable ? ImGuiInputTextFlags_AutoSelectAll : ImGuiInputTextFlags_ReadOnly);
        if (d.showChange && button("Change")) {
            d.pressChange();
            focusPending = true;
        }
        ImGui::Spacing();
        if (d.showGamemaster) {
            ImGui::TextUnformatted("Gamemaster name");
            focusHere(ConnectionProperties::FieldGamemaster);
            editField("##gm", d.gamemasterName, ImGuiInputTextFlags_AutoSelectAll);
            ImGui::TextDisabled("The name that you speak under as the Gamemaster.");
        }
        if (d.showAddress) {
            ImGui::TextUnformatted("Host address");
            focusHere(ConnectionProperties::FieldAddress);
            editField("##address", d.hostAddress, ImGuiInputTextFlags_AutoSelectAll);
            ImGui::TextDisabled("The address of the Gamemaster's computer, or its alias.");
        }
        ImGui::Spacing();
        if (button("<< Back") || keyPressed(ImGuiKey_Escape)) return d.pressBack();
        ImGui::SameLine();
        if (button(d.startLabel.c_str()) || keyPressed(ImGuiKey_Enter)) {
            DialogOutcome o = d.pressStart(fields);
            focusPending = !o.ends;
            return o;
        }
        return DialogOutcome::stay();
    });
}

int ImGuiLauncherUi::runSelectRuleset(SelectRuleset& d, std::string& ruleset) {
    return runDialog("Select Ruleset", -1, [&] {
        ImGui::TextUnformatted("Select the ruleset you wish to manage characters for");
        bool chosen = false;
        if (ImGui::BeginListBox("##rulesets", ImVec2(-1, 200))) {
            for (size_t i = 0; i < d.rulesets.size(); ++i) {
                if (ImGui::Selectable(platform::windows1252ToUtf8(d.rulesets[i]).c_str(), int(i) == d.selected,
                                      ImGuiSelectableFlags_AllowDoubleClick)) {
                    d.selected = int(i);
                    chosen = ImGui::IsMouseDoubleClicked(0);
                }
            }
            ImGui::EndListBox();
        }
        if (button("<< Back") || keyPressed(ImGuiKey_Escape)) return d.pressBack();
        ImGui::SameLine();
        if (button("Start") || keyPressed(ImGuiKey_Enter) || chosen) return d.pressStart(ruleset);
        return DialogOutcome::stay();
    });
}

int ImGuiLauncherUi::runHostOptions(HostOptions& d, const HostOptionsServices& services, CampaignChoice& choice) {
    return runDialog("Host options", 0, [&] {
        if (ImGui::RadioButton("Load campaign", d.loadMode)) d.pressLoad();
        ImGui::SameLine(kWidth / 2);
        if (ImGui::RadioButton("Create new campaign", !d.loadMode)) d.pressCreate();

        ImGui::Columns(2, nullptr, false);
        ImGui::BeginDisabled(!d.loadMode);
        ImGui::TextUnformatted("Campaign name");
        ImGui::EndDisabled();
        comboOf("##campaigns", d.campaigns, d.selectedCampaign, d.loadMode);
        ImGui::NextColumn();
        ImGui::BeginDisabled(d.loadMode);
        ImGui::TextUnformatted("Campaign name");
        if (dialogStart && d.focus == HostOptions::FieldNewName) ImGui::SetKeyboardFocusHere();
        editField("##newname", d.newName);
        ImGui::TextUnformatted("Rules");
        ImGui::EndDisabled();
        comboOf("##rules", d.rulesets, d.selectedRuleset, !d.loadMode);
        ImGui::Columns(1);

        ImGui::Separator();
        ImGui::TextUnformatted("Players connect to the ip address");
        std::string address = d.addressLine;
        editField("##ip", address, ImGuiInputTextFlags_ReadOnly);
        bool alias = d.useAlias;
        if (ImGui::Checkbox("or use the unique alias", &alias)) d.toggleAlias(alias);
        ImGui::BeginDisabled(!d.useAlias);
        ImGui::SetNextItemWidth(kWidth - 140);
        std::string a = platform::windows1252ToUtf8(d.alias);
        if (ImGui::InputText("##alias", &a)) d.alias = launcherField(platform::utf8ToWindows1252(a));
        ImGui::SameLine();
        // Its box, if any, stands over the dialog, which stays.
        DialogOutcome generated;
        if (button("Generate")) generated = d.pressGenerate(services);
        ImGui::TextWrapped("This alias can be used to give out connection information even if your ip changes often.");
        ImGui::EndDisabled();

        bool usePassword = d.usePassword;
        if (ImGui::Checkbox("Use password", &usePassword)) d.togglePassword(usePassword);
        ImGui::BeginDisabled(!d.usePassword);
        editField("##password", d.password, ImGuiInputTextFlags_Password);
        ImGui::EndDisabled();

        ImGui::Spacing();
        if (button("Start", ImVec2(120, 0), dialogStart && d.loadMode) || keyPressed(ImGuiKey_Enter)) {
            return d.pressStart(services, choice);
        }
        if (keyPressed(ImGuiKey_Escape)) return d.close();
        return generated;
    });
}

bool ImGuiLauncherUi::askPassword(std::string& password) {
    std::string typed;
    return runDialog("Enter password", 0, [&] {
        ImGui::TextWrapped("The session you are connecting to is password protected.");
        ImGui::TextUnformatted("Please enter the password:");
        if (dialogStart) ImGui::SetKeyboardFocusHere();
        editField("##password", typed, ImGuiInputTextFlags_Password);
        if (button("OK", ImVec2(100, 0)) || keyPressed(ImGuiKey_Enter)) {
            password = launcherField(typed);
            return DialogOutcome::end(1);
        }
        ImGui::SameLine();
        if (button("Cancel", ImVec2(100, 0)) || keyPressed(ImGuiKey_Escape)) return DialogOutcome::end(0);
        return DialogOutcome::stay();
    }) == 1;
}

int ImGuiLauncherUi::runProgress(const char* title, const std::function<int(Progress&)>& step) {
    Progress progress;
    return runDialog(title, 0, [&] {
        int state = step(progress);
        if (state != 0) return DialogOutcome::end(state);
        std::string text = platform::windows1252ToUtf8(progress.text);
        editField("##file", text, ImGuiInputTextFlags_ReadOnly);
        ImGui::TextUnformatted(progress.sizeText.c_str());
        ImGui::ProgressBar(progress.fraction, ImVec2(-1, 0));
        ImGui::Spacing();
        if (button("Cancel", ImVec2(100, 0)) || keyPressed(ImGuiKey_Escape)) return DialogOutcome::end(0);
        return DialogOutcome::stay();
    });
}

}  // namespace lh::net
