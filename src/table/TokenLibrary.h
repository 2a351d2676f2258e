// The pictures tokens are made of: every file under the archive's
// "data/tokens", then the disk's "data\tokens"; on the host also
// "tokens\shared", "tokens\host" (host-only) and the Campaign's "tokens"
// (host-only). A picture travels by its name: its path with '/' for every
// '\'. A client that lacks one asks the host for it (a token picture fetch)
// and keeps the entry: tokens of it draw from the moment the bytes arrive.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "render/Bitmap.h"

namespace lh::table {

struct TokenDef {
    std::string name;
    std::unique_ptr<render::Bitmap> bitmap;  // null while the picture is not at hand
    bool hostOnly = false;
    bool builtIn = false;
    // Bumped whenever the picture arrives or changes, so that drawers know.
    uint32_t generation = 0;
    bool hasPicture() const { return bitmap && !bitmap->IsEmpty(); }
    int32_t width() const { return hasPicture() ? int32_t(bitmap->GetWidth()) : 0; }
    int32_t height() const { return hasPicture() ? int32_t(bitmap->GetHeight()) : 0; }
    // A picture from bytes; -1 if they are none.
    int LoadFromBytes(const void* data, size_t size);
};

class TokenLibrary {
public:
    // How a client asks for a missing picture; answers whether it went out.
    using Fetcher = std::function<bool(const std::string& name)>;

    void setHost(bool host) { isHost = host; }
    void setFetcher(Fetcher f) { fetch = std::move(f); }

    // The archive's pictures under `prefix` ("data/tokens/"): built in, kept
    // whatever their bytes.
    void LoadArchiveFolder(std::string_view prefix, bool hostOnly);
    // A folder on disk ("tokens\shared"), walked down in name order, dot
    // entries skipped. A picture that does not read is dropped on the host
    // and fetched on a client.
    void LoadFolder(std::string_view folder, bool hostOnly);

    TokenDef* find(std::string_view name);
    // The entry for a name from the wire: made and loaded when missing.
    // Null when the name is unsafe, or on the host when no picture reads.
    TokenDef* obtain(std::string_view name, bool hostOnly);
    // An entry with its picture already at hand (generated, or a test's).
    TokenDef& insert(std::string name, std::unique_ptr<render::Bitmap> bitmap, bool hostOnly, bool builtIn);
    // The bytes of a fetched picture arrived.
    void pictureArrived(std::string_view name, const void* data, size_t size);

    const std::map<std::string, std::unique_ptr<TokenDef>, std::less<>>& entries() const { return defs; }
    void clear() { defs.clear(); }

private:
    // 0 loaded, -1 none on the host, 1 requested from the host.
    int load(TokenDef& def);

    std::map<std::string, std::unique_ptr<TokenDef>, std::less<>> defs;
    bool isHost = true;
    Fetcher fetch;
};

// The process's library.
TokenLibrary& tokenLibrary();

// "a\b/c" -> "a/b/c"; and back to the wire's and files' form.
std::string tokenNameOf(std::string_view path);
std::string tokenPathOf(std::string_view name);

}  // namespace lh::table
