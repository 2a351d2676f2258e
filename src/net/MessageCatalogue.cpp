// The table of message tags; see MessageCatalogue.h.
#include "net/MessageCatalogue.h"

#include <algorithm>
#include <iterator>

namespace lh::net {
namespace {

using enum TagRoute;

constexpr TagInfo kCatalogue[] = {
    {tags::BELLR, ToClients, "Sound a bell"},
    {tags::CHATQ, ToHost, "A chat line"},
    {tags::CHATR, ToClients, "A chat line"},
    {tags::CHCLR, ToClients, "Clear the chat view"},
    {tags::CHINQ, ToHost, "Typing state of an Identity"},
    {tags::CHINR, ToClients, "The same, passed on"},
    {tags::CHITR, ToClients, "Typing state of the host"},
    {tags::CHPDQ, ToHost, "A piece of a portrait file"},
    {tags::CHPRQ, ToHost, "Ask for a portrait"},
    {tags::CHPRR, ToClients, "A portrait file is there: size, time, name"},
    {tags::CHSLR, ToClients, "Selection in the character list"},
    {tags::CLRPR, ToClients, "Desktop light colours"},
    {tags::CNDBQ, ToHost, "Ask for the file list"},
    {tags::CNDBR, ToClients, "One file of the list"},
    {tags::CNDER, ToClients, "End of the list"},
    {tags::CONNQ, ToHost, "Log in"},
    {tags::CONNR, ToClients, "Login answer"},
    {tags::DATAR, EitherWay, "One node and its value"},
    {tags::DATDQ, ToHost, "Delete a node"},
    {tags::DATDR, ToClients, "A node was deleted"},
    {tags::DIETQ, ToHost, "A dice throw"},
    {tags::DIETR, ToClients, "A dice throw"},
    {tags::DRDLR, ToClients, "A drawing was deleted"},
    {tags::DRSTQ, ToHost, "A drawing stroke"},
    {tags::DRSTR, ToClients, "A drawing stroke"},
    {tags::FILEX, ToHost, "Turns this connection into a file fetch"},
    {tags::IDENQ, ToHost, "Take on an Identity"},
    {tags::IDENR, ToClients, "Answer to IDENQ"},
    {tags::IDLSQ, ToHost, "Ask for users and Identities"},
    {tags::IDLSR, ToClients, "One Identity that can be taken"},
    {tags::IMGAR, ToHost, "Whether the client has an image file"},
    {tags::IMMSQ, ToHost, "A mask change"},
    {tags::IMMSR, ToClients, "A mask change"},
    {tags::IMSAQ, ToHost, "A snapshot has been read; the host deletes its file"},
    {tags::IMSSQ, ToHost, "Ask for a snapshot"},
    {tags::IMSSR, ToClients, "Snapshot answer"},
    {tags::LGINR, ToClients, "A user has taken on an Identity"},
    {tags::LGOTR, ToClients, "A user has left"},
    {tags::MESGQ, EitherWay, "A private chat line"},
    {tags::PNTRQ, ToHost, "A pointer"},
    {tags::PNTRR, ToClients, "A pointer"},
    {tags::POLLQ, ToHost, "A poll answer"},
    {tags::POLLR, ToClients, "A poll state"},
    {tags::TLIBR, ToClients, "One picture name of the token library"},
    {tags::TOKAQ, ToHost, "Add a token"},
    {tags::TOKAR, ToClients, "A token was added"},
    {tags::TOKDQ, ToHost, "Delete a token"},
    {tags::TOKDR, ToClients, "A token was deleted"},
    {tags::TOKLR, ToClients, "Lock state of a token"},
    {tags::TOKOQ, ToHost, "Rotate a token"},
    {tags::TOKOR, ToClients, "A token was rotated"},
    {tags::TOKPQ, ToHost, "Move a token"},
    {tags::TOKPR, ToClients, "A token moved"},
    {tags::WINBQ, ToHost, "The client shares a window"},
    {tags::WINCQ, ToHost, "Make a record of a class"},
    {tags::WINCR, ToClients, "Open or refresh a shared window"},
    {tags::WINDQ, ToClients, "Close a window"},
    {tags::WINSQ, ToClients, "Size of a shared window"},
};
static_assert(std::size(kCatalogue) == 58);

bool tagLess(const TagInfo& a, const TagInfo& b) { return a.tag.letters < b.tag.letters; }

}  // namespace

std::span<const TagInfo> messageCatalogue() { return kCatalogue; }

const TagInfo* findTag(const MessageTag& tag) {
    TagInfo key{tag, EitherWay, ""};
    auto it = std::lower_bound(std::begin(kCatalogue), std::end(kCatalogue), key, tagLess);
    return it != std::end(kCatalogue) && it->tag == tag ? &*it : nullptr;
}

}  // namespace lh::net
