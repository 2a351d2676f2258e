// The attach points of the Desktop's routing.
#include "ui/DesktopHooks.h"

#include <vector>

#include "ui/DesktopMenu.h"

namespace lh::ui {

namespace {

// Attached implementations of one interface; the first still attached is
// the one in use.
template <class Interface>
struct Attached {
    platform::Signal<Interface*()> list;

    platform::Subscription attach(Interface& i) {
        return list.subscribe([&i] { return &i; });
    }
    Interface* first() {
        Interface* found = nullptr;
        list.forEach([&](const std::function<Interface*()>& get) {
            if (!found) found = get();
        });
        return found;
    }
};

Attached<DiceInput>& dice() {
    static Attached<DiceInput> a;
    return a;
}
Attached<PointerInput>& pointers() {
    static Attached<PointerInput> a;
    return a;
}
Attached<DesktopShell>& shell() {
    static Attached<DesktopShell> a;
    return a;
}

}  // namespace

DesktopSignals& desktopSignals() {
    static DesktopSignals s;
    return s;
}

platform::Subscription attachDiceInput(DiceInput& d) { return dice().attach(d); }
platform::Subscription attachPointerInput(PointerInput& p) { return pointers().attach(p); }
platform::Subscription attachDesktopShell(DesktopShell& s) { return shell().attach(s); }
DiceInput* diceInput() { return dice().first(); }
PointerInput* pointerInput() { return pointers().first(); }
DesktopShell* desktopShell() { return shell().first(); }

platform::Subscription addDesktopMenuEntry(int slot, std::string label, std::string icon,
                                           std::function<void()> chosen) {
    return desktopMenuEntries().subscribe(
        [entry = DesktopMenuEntry{slot, std::move(label), std::move(icon), std::move(chosen)}] { return &entry; });
}

}  // namespace lh::ui
