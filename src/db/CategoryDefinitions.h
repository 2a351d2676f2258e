// The category definition texts of a node, by holder name, in byte-wise
// order of the names. Few nodes have any, so the map is made on the first
// entry and an empty one costs a pointer.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace lh::db {

class CategoryDefinitions {
public:
    using Map = std::map<std::string, std::string, std::less<>>;
    using const_iterator = Map::const_iterator;

    const_iterator begin() const { return map ? map->cbegin() : none().cbegin(); }
    const_iterator end() const { return map ? map->cend() : none().cend(); }
    bool empty() const { return !map || map->empty(); }
    size_t size() const { return map ? map->size() : 0; }
    const_iterator find(std::string_view holder) const { return map ? map->find(holder) : none().cend(); }
    size_t count(std::string_view holder) const { return find(holder) == end() ? 0 : 1; }
    // The definition of a holder; an empty text for a holder without one.
    const std::string& at(std::string_view holder) const {
        auto it = find(holder);
        return it == end() ? noText() : it->second;
    }

    // Sets the holder's definition, replacing any earlier text.
    void set(std::string_view holder, std::string_view definition) {
        if (!map) map = std::make_unique<Map>();
        (*map)[std::string(holder)] = std::string(definition);
    }
    void clear() { map.reset(); }

private:
    std::unique_ptr<Map> map;

    static const std::string& noText() {
        static const std::string empty;
        return empty;
    }
    static const Map& none() {
        static const Map empty;
        return empty;
    }
};

}  // namespace lh::db
