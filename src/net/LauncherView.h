// The launcher's dialogs drawn with Dear ImGui in the launcher window: a
// banner on top, the model's fields below, keyboard first (Tab moves,
// Return presses the default button, Escape goes back or closes).
#pragma once

#include <functional>
#include <string>

#include "net/Launcher.h"

namespace lh::net {

// What shows the frames: the launcher window with its GL context. The view
// builds one ImGui frame between begin and end.
class DialogHost {
public:
    virtual ~DialogHost() = default;
    // Waits for input (or a short timeout) and starts a frame. False when the
    // user closed the window.
    virtual bool beginFrame() = 0;
    virtual void endFrame() = 0;
};

class ImGuiLauncherUi : public LauncherUi {
public:
    explicit ImGuiLauncherUi(DialogHost& host) : host(host) {}
    void showBox(const std::string& title, const std::string& text) override;
    int runMainMenu(MainMenu& menu) override;
    int runConnectionProperties(ConnectionProperties& dialog, LauncherFields& fields) override;
    int runSelectRuleset(SelectRuleset& dialog, std::string& ruleset) override;
    int runHostOptions(HostOptions& dialog, const HostOptionsServices& services, CampaignChoice& choice) override;

    // The "Enter password" dialog of a login: true with the text on OK.
    bool askPassword(std::string& password);

    // A progress dialog with a Cancel button. `step` runs once a frame and
    // may use the frame's time for work: 0 going on, 1 done, -1 failed. The
    // result is 1 or -1 from `step`, or 0 for Cancel (or a closed window).
    struct Progress {
        std::string text;      // a status, or the file under way
        std::string sizeText;  // "%u kb"
        float fraction = 0;
    };
    int runProgress(const char* title, const std::function<int(Progress&)>& step);

    // The help buttons of the main menu: "Credits", "View OGL", "Quick Tutorial".
    std::function<void(int which)> openHelp;

private:
    // Runs frames until `body` returns an ending outcome; a box in an outcome
    // is shown on top until dismissed. Closing the window gives `closeResult`.
    int runDialog(const char* title, int closeResult, const std::function<DialogOutcome()>& body);
    // The pending box; true in the frame it is dismissed.
    bool drawBox();

    DialogHost& host;
    std::string boxTitle, boxText;
    bool dialogStart = false;  // the first frame of a dialog: focus its default
};

}  // namespace lh::net
