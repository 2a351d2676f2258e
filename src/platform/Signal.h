// Registration without one-slot hooks: a Signal keeps any number of
// handlers, and each subscriber holds a Subscription, a small handle that
// takes its handler off again when it is destroyed. Either side may go first:
// a handle whose Signal is gone holds nothing, and a Signal never calls a
// handler whose handle has gone, even from inside its own call. Pure C++, one
// thread: everything here runs on the main thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace lh::platform {

namespace detail {
struct SlotListBase {
    virtual ~SlotListBase() = default;
    virtual void remove(uint64_t id) = 0;
};
}  // namespace detail

// Owned by the listener (usually a member), so that it dies with it.
class [[nodiscard]] Subscription {
public:
    Subscription() = default;
    ~Subscription() { reset(); }
    Subscription(Subscription&& other) noexcept
        : list(std::move(other.list)), id(std::exchange(other.id, 0)) {}
    Subscription& operator=(Subscription&& other) noexcept {
        if (this != &other) {
            reset();
            list = std::move(other.list);
            id = std::exchange(other.id, 0);
        }
        return *this;
    }
    Subscription(const Subscription&) = delete;
    Subscription& operator=(const Subscription&) = delete;

    // Takes the handler off now; later calls do nothing.
    void reset() {
        if (auto l = list.lock()) l->remove(id);
        list.reset();
        id = 0;
    }
    // True while the handler is on a living Signal.
    explicit operator bool() const { return id != 0 && !list.expired(); }

private:
    template <class>
    friend class Signal;
    Subscription(std::weak_ptr<detail::SlotListBase> l, uint64_t i) : list(std::move(l)), id(i) {}
    std::weak_ptr<detail::SlotListBase> list;
    uint64_t id = 0;
};

template <class Signature>
class Signal;

template <class R, class... Args>
class Signal<R(Args...)> {
public:
    using Handler = std::function<R(Args...)>;

    Signal() = default;
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    // Handlers run in the order they subscribed. One that subscribes while
    // the signal runs is first called at its next emit.
    Subscription subscribe(Handler handler) {
        uint64_t id = ++slots->lastId;
        slots->entries.push_back({id, std::make_shared<Handler>(std::move(handler))});
        return Subscription(slots, id);
    }

    // Calls every handler with the arguments, ignoring what they answer.
    void emit(Args... args) {
        forEach([&](const Handler& h) { h(args...); });
    }

    // Calls `visit(handler)` for each handler, for signals whose answers the
    // caller combines (e.g. "did anyone draw").
    template <class Visit>
    void forEach(Visit&& visit) {
        std::shared_ptr<List> keep = slots;  // the signal may die in a handler
        ++keep->emitting;
        const size_t count = keep->entries.size();
        for (size_t i = 0; i < count; ++i) {
            std::shared_ptr<Handler> h = keep->entries[i].handler;  // a handler may add others meanwhile
            if (h) visit(*h);
        }
        if (--keep->emitting == 0) keep->compact();
    }

    bool empty() const {
        for (const auto& e : slots->entries) {
            if (e.handler) return false;
        }
        return true;
    }

private:
    struct Entry {
        uint64_t id;
        std::shared_ptr<Handler> handler;  // null once its handle has gone
    };
    struct List : detail::SlotListBase {
        std::vector<Entry> entries;
        uint64_t lastId = 0;
        int emitting = 0;
        void remove(uint64_t id) override {
            for (Entry& e : entries) {
                if (e.id == id) e.handler.reset();
            }
            if (emitting == 0) compact();
        }
        void compact() {
            std::erase_if(entries, [](const Entry& e) { return !e.handler; });
        }
    };
    std::shared_ptr<List> slots = std::make_shared<List>();
};

}  // namespace lh::platform
