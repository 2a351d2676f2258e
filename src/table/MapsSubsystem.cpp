// The maps join the program: the value class of image records (before any
// database is read), the IMAGE control, the session's map messages, and
// the program's own maps in a new Campaign's "images" folder.
#include <memory>
#include <string>
#include <system_error>

#include "db/Campaign.h"
#include "db/DbNode.h"
#include "db/ImageRecords.h"
#include "db/SafeFile.h"
#include "db/SessionMode.h"
#include "net/FileExchange.h"
#include "net/Session.h"
#include "platform/Paths.h"
#include "platform/Spine.h"
#include "table/ImageControl.h"
#include "table/ImageValue.h"
#include "table/MapService.h"
#include "table/TabletInput.h"
#include "ui/ResourceFile.h"
#include "ui/Subsystems.h"

namespace lh::table {

namespace {

// Image records are made while the database loads, which is before the
// subsystems start: the value class is there from the program's start.
const bool valueClassRegistered = (db::setValueMaker(db::NodeKind::image, makeImageValue), true);

std::unique_ptr<MapService>& service() {
    static std::unique_ptr<MapService> s;
    return s;
}

// A Campaign that starts with an empty "images" folder gets the program's
// own maps, so that a new Gamemaster has something to open; one whose
// folder already holds pictures gets a record for each of them.
void offerBundledMaps() {
    std::filesystem::path folder = platform::diskPath(db::campaignPath("images"));
    std::error_code ec;
    if (!std::filesystem::is_directory(folder, ec)) return;
    if (std::filesystem::is_empty(folder, ec)) {
        ui::ResourceFile file;
        for (bool more = file.FirstFile("data/maps/"); more; more = file.NextFile()) {
            std::string name = file.name();
            size_t slash = name.find_last_of("/\\");
            name = slash == std::string::npos ? name : name.substr(slash + 1);
            if (name.empty() || name[0] == '.') continue;
            db::writeFileSafely(folder / name, std::string_view(file.data(), file.size()));
        }
    }
    db::refreshImageRecords(db::rootNode());
}

platform::Subscription& exitSave() {
    static platform::Subscription s;
    return s;
}

void start(const ui::SubsystemStart& s) {
    (void)valueClassRegistered;
    registerImageControl();
    exitSave() = platform::spine().exitSave.subscribe([] { ImageValue::SaveOpenLayers(); });
    TabletInput::get().listen();
    if (s.mode == db::SessionMode::Host && db::campaign().isNew) offerBundledMaps();
    if (!s.session) return;
    net::FileExchange* files = s.session->isHost() ? nullptr : net::FileExchange::current();
    service() = std::make_unique<MapService>(*s.session, s.replication, files, db::rootNode());
}

void stop() {
    service().reset();
    exitSave().reset();
}

ui::SubsystemRegistration registration{"maps", 40, start, stop};

}  // namespace

}  // namespace lh::table
