// The Ruleset loader: one pass over the top-level tags, in the order in
// which they are tested below, with includes loaded in place.
#include "ui/RulesetLoader.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "db/XmlElement.h"
#include "db/XmlParse.h"
#include "render/Bitmap.h"
#include "ui/ResourceFile.h"
#include "ui/RulesetData.h"
#include "ui/RulesetFiles.h"
#include "ui/RulesetXml.h"

namespace lh::ui {

namespace {

StaticDataLoader& staticLoader() {
    static StaticDataLoader loader = nullptr;
    return loader;
}

// The key under which a file counts as "being loaded": slashes alike, ASCII
// case ignored, as the archive and the disk lookup treat them.
std::string fileKey(std::string_view path) {
    std::string key(path);
    for (char& c : key) {
        if (c == '/') c = '\\';
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    }
    return key;
}

class Loader {
public:
    explicit Loader(db::SessionMode mode) : sessionMode(mode) {}

    void walk(db::XmlElement& root) {
        forEachChild(root, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
            topLevel(std::move(child), tag);
        });
    }

    // A Ruleset file that must be there: missing text parses as an empty
    // document, which ends the program with the parse box.
    std::unique_ptr<db::XmlElement> parseFile(std::string_view path) {
        ResourceFile file;
        openRulesetFile(path, file);
        std::string text = file.data() ? std::string(file.data(), file.size()) : std::string();
        std::string display(path);
        return db::parseXmlText(text, display.c_str());
    }

    std::vector<std::string> including;  // files being loaded, outermost first

private:
    template <typename T>
    static void store(NamedMap<T>& map, const std::string& name, std::unique_ptr<T> object) {
        map[name] = std::move(object);  // the earlier object of this name goes now
    }

    void topLevel(std::unique_ptr<db::XmlElement> element, const std::string& tag) {
        RulesetData& data = ruleset();
        std::string text;
        if (tag == "FONT") {
            auto font = std::make_unique<RulesetFont>();
            font->Load(*element);
            std::string name = font->name();
            store(data.fonts, name, std::move(font));
        } else if (tag == "FRAMEDEF") {
            auto frame = std::make_unique<FrameDef>();
            frame->Load(*element);
            std::string name = frame->name();
            store(data.frameDefs, name, std::move(frame));
        } else if (tag == "DESKTOPIMAGE") {
            if (readText(*element, "FILE", text)) data.desktopImage = loadRulesetBitmap(text);
        } else if (tag == "NUMBERCONTROLSETTINGS") {
            readNumberControlSettings(*element, data.settings.numberControls);
        } else if (tag == "CATEGORYSELECTIONSETTINGS") {
            readCategorySelection(*element, data.settings.categorySelection);
        } else if (tag == "VIEWERLISTSETTINGS") {
            readViewerList(*element, data.settings.viewerList);
        } else if (tag == "DIE") {
            auto die = std::make_unique<DieType>();
            if (die->Load(*element)) {
                std::string name = die->name;
                store(data.dieTypes, name, std::move(die));
            }
        } else if (tag == "MODCOLLECTOR") {
            readModifierCollector(*element, data.settings.modifierCollector);
        } else if (tag == "DIEBOX") {
            readDieBox(*element, data.settings.dieBox);
        } else if (tag == "POLLBOX") {
            readPollBox(*element, data.settings.pollBox);
        } else if (tag == "WINDOWCLASS") {
            auto windowClass = std::make_unique<WindowClass>();
            if (windowClass->Load(*element)) {
                std::string name = windowClass->name;
                store(data.windowClasses, name, std::move(windowClass));
            }
        } else if (tag == "CHARACTERLIST") {
            readCharacterList(*element, data.settings.characterList);
        } else if (tag == "IDENTITYLIST") {
            readIdentityList(*element, data.settings.identityList);
        } else if (tag == "CHATWINDOW") {
            readChatWindow(*element, data.settings.chatWindow);
        } else if (tag == "HOTKEYBAR") {
            if (sessionMode != db::SessionMode::LocalCharacters) readHotkeyBar(*element, data.settings.hotkeyBar);
        } else if (tag == "ICON") {
            if (!readText(*element, "FILE", text)) return;
            auto icon = loadRulesetBitmap(text);
            std::string name;
            if (readText(*element, "NAME", name)) store(data.icons, name, std::move(icon));
        } else if (tag == "STATICDATA") {
            if (!readText(*element, "SOURCE", text)) return;
            auto root = parseFile(text);
            if (root && staticLoader()) staticLoader()(*root);
        } else if (tag == "INCLUDEFILE") {
            if (readText(*element, "SOURCE", text)) include(text);
        } else if (tag == "EXPORTINFO") {
            forEachChild(*element, [&](std::unique_ptr<db::XmlElement> child, const std::string&) {
                std::string name;
                if (readText(*child, "NAME", name)) data.exportNames.insert(name);
            });
        }
    }

    void include(const std::string& path) {
        std::string key = fileKey(path);
        if (int(including.size()) >= kMaxIncludeDepth ||
            std::find(including.begin(), including.end(), key) != including.end()) {
            std::fprintf(stderr, "Ruleset: include of %s skipped (nested too deep or including itself)\n",
                         path.c_str());
            return;
        }
        auto root = parseFile(path);
        if (!root) return;
        including.push_back(key);
        walk(*root);
        including.pop_back();
    }

    db::SessionMode sessionMode;
};

}  // namespace

void setStaticDataLoader(StaticDataLoader loader) {
    staticLoader() = loader;
}

int LoadRulesetFile(std::unique_ptr<db::XmlElement> document, db::SessionMode sessionMode) {
    if (!document) return 1;
    Loader loader(sessionMode);
    loader.walk(*document);
    return 0;
}

render::Bitmap* LoadRuleset(std::string_view name, db::SessionMode sessionMode) {
    std::string path = "rulesets\\" + std::string(name) + "\\base.xml";
    Loader loader(sessionMode);
    auto root = loader.parseFile(path);
    if (root) {
        loader.including.push_back(fileKey(path));
        loader.walk(*root);
    }
    return ruleset().desktopImage.get();
}

}  // namespace lh::ui
