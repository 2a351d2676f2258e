// Tokens and pointers join the program: the library is read (archive, then
// disk; on the host the shared, host-only and Campaign folders too), the
// TOKENBAG tag is registered, and the desk takes the session's token and
// pointer messages and the Desktop's pointer input.
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

#include "db/Campaign.h"
#include "db/SessionMode.h"
#include "net/FileExchange.h"
#include "net/FileFetch.h"
#include "net/FileStamp.h"
#include "net/Session.h"
#include "platform/Registry.h"
#include "platform/Trace.h"
#include "render/GraphicsDevice.h"
#include "table/TokenBag.h"
#include "table/TokenDesk.h"
#include "table/TokenLibrary.h"
#include "ui/ColorPort.h"
#include "ui/Subsystems.h"

namespace lh::table {

namespace {

std::unique_ptr<TokenDesk>& desk() {
    static std::unique_ptr<TokenDesk> d;
    return d;
}

void loadLibrary(bool host, net::FileExchange* files) {
    TokenLibrary& library = tokenLibrary();
    library.setHost(host);
    if (files) {
        library.setFetcher([files](const std::string& name) {
            platform::trace("token picture %s fetch", name.c_str());
            return files->fetchFromHost(tokenPathOf(name), net::FetchKind::TokenBitmap, net::FileTime{}, name);
        });
        files->setEndHandler(net::FetchKind::TokenBitmap, [](net::FileFetch& fetch, int result) {
            if (result <= 0) {
                platform::trace("token picture %s failed", fetch.nodePath.c_str());
                return;
            }
            tokenLibrary().pictureArrived(fetch.nodePath, fetch.buffer().data(), fetch.buffer().size());
            platform::trace("token picture %s arrived", fetch.nodePath.c_str());
            render::GraphicsDevice::Get().Invalidate(nullptr);
        });
    }
    library.LoadArchiveFolder("data/tokens/", false);
    library.LoadFolder("data\\tokens", false);
    if (!host) return;
    library.LoadFolder("tokens\\shared", false);
    library.LoadFolder("tokens\\host", true);
    library.LoadFolder(db::campaignPath("tokens"), true);
}

// The colour that the colour selection kept: the dice's, whose top byte
// holds the numerals' choice and is no part of the pointer's colour.
std::optional<uint32_t> keptColor() {
    std::optional<std::string> text = platform::readRegistryValue("Software\\Lorehaven", "DiceColor");
    if (!text || text->empty()) return std::nullopt;
    char* end = nullptr;
    const unsigned long value = std::strtoul(text->c_str(), &end, 0);
    if (end == text->c_str() || *end != '\0') return std::nullopt;
    return uint32_t(value) & 0x00FFFFFFu;
}

void start(const ui::SubsystemStart& s) {
    registerTokenBag();
    const bool host = s.mode != db::SessionMode::Join;
    net::FileExchange* files = s.session && !s.session->isHost() ? net::FileExchange::current() : nullptr;
    loadLibrary(host, files);
    desk() = std::make_unique<TokenDesk>(s.desktop, s.session, host);
    // The colour chosen last time, kept with the dice's; it goes out with
    // the first pointer.
    if (std::optional<uint32_t> kept = keptColor()) desk()->pointerBoard().SetColor(*kept, false);
    ui::ColorPort& colors = ui::colorPort();
    colors.pointerColorOf = [](const std::string& user, uint32_t& bgr) {
        const PointerState* p = desk() ? desk()->pointerBoard().find(user) : nullptr;
        if (p) bgr = p->color;
        return p != nullptr;
    };
    colors.setPointerColor = [](uint32_t bgr) {
        if (desk()) desk()->SetPointerColor(bgr);
    };
}

void stop() {
    ui::colorPort().pointerColorOf = nullptr;
    ui::colorPort().setPointerColor = nullptr;
    desk().reset();
    tokenLibrary().setFetcher({});
}

ui::SubsystemRegistration registration{"tokens", 45, start, stop};

}  // namespace

}  // namespace lh::table
