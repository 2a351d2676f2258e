// Every message tag the session knows, with the road it travels. A Q tag
// goes towards the host and an R tag away from it, apart from the few that
// the table marks otherwise. The bodies are defined where each is handled.
#pragma once

#include <span>

#include "net/NetMessage.h"

namespace lh::net {

enum class TagRoute {
    ToHost,     // client to host
    ToClients,  // host to one or all clients
    EitherWay,
};

struct TagInfo {
    MessageTag tag;
    TagRoute route;
    const char* meaning;
};

// The whole catalogue in alphabetical order.
std::span<const TagInfo> messageCatalogue();
// Null for a tag that is not in the catalogue.
const TagInfo* findTag(const MessageTag& tag);

namespace tags {
// Section: chat, identities, polls.
inline constexpr MessageTag BELLR{"BELLR"}, CHATQ{"CHATQ"}, CHATR{"CHATR"}, CHCLR{"CHCLR"}, CHINQ{"CHINQ"},
    CHINR{"CHINR"}, CHITR{"CHITR"}, CLRPR{"CLRPR"}, IDENQ{"IDENQ"}, IDENR{"IDENR"}, IDLSQ{"IDLSQ"},
    IDLSR{"IDLSR"}, MESGQ{"MESGQ"}, POLLQ{"POLLQ"}, POLLR{"POLLR"};
// Section: characters and portraits.
inline constexpr MessageTag CHPDQ{"CHPDQ"}, CHPRQ{"CHPRQ"}, CHPRR{"CHPRR"}, CHSLR{"CHSLR"};
// Section: login, file list, file fetch.
inline constexpr MessageTag CNDBQ{"CNDBQ"}, CNDBR{"CNDBR"}, CNDER{"CNDER"}, CONNQ{"CONNQ"}, CONNR{"CONNR"},
    FILEX{"FILEX"}, LGINR{"LGINR"}, LGOTR{"LGOTR"};
// Section: records.
inline constexpr MessageTag DATAR{"DATAR"}, DATDQ{"DATDQ"}, DATDR{"DATDR"};
// Section: dice and drawing.
inline constexpr MessageTag DIETQ{"DIETQ"}, DIETR{"DIETR"}, DRDLR{"DRDLR"}, DRSTQ{"DRSTQ"}, DRSTR{"DRSTR"};
// Section: images, masks, pointers, tokens.
inline constexpr MessageTag IMGAR{"IMGAR"}, IMMSQ{"IMMSQ"}, IMMSR{"IMMSR"}, IMSAQ{"IMSAQ"}, IMSSQ{"IMSSQ"},
    IMSSR{"IMSSR"}, PNTRQ{"PNTRQ"}, PNTRR{"PNTRR"}, TLIBR{"TLIBR"}, TOKAQ{"TOKAQ"}, TOKAR{"TOKAR"},
    TOKDQ{"TOKDQ"}, TOKDR{"TOKDR"}, TOKLR{"TOKLR"}, TOKOQ{"TOKOQ"}, TOKOR{"TOKOR"}, TOKPQ{"TOKPQ"},
    TOKPR{"TOKPR"};
// Section: shared windows.
inline constexpr MessageTag WINBQ{"WINBQ"}, WINCQ{"WINCQ"}, WINCR{"WINCR"}, WINDQ{"WINDQ"}, WINSQ{"WINSQ"};
}  // namespace tags

}  // namespace lh::net
