// The number field: parsing with its sources, the inputs, the drag and the
// drop, and drawing with the focus frame and the modifier tag.
#include "ui/NumberControl.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>
#include <map>

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StringValue.h"
#include "platform/Clock.h"
#include "render/RenderContext.h"
#include "ui/Desktop.h"
#include "ui/DragImage.h"
#include "ui/InputState.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::ui {

namespace {

// Digits more than this apart start a new number.
constexpr uint64_t kTypingPauseMs = 1000;
// A middle drag moves the value by one for this many pixels.
constexpr int32_t kPixelsPerStep = 20;
// One pair of a VALUEMAP, "%d:%d", is never longer.
constexpr size_t kMaxPairLength = 9;

int32_t clampToInt(int64_t n) {
    return int32_t(std::clamp<int64_t>(n, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
}

db::IntValue::Operation operationOf(const std::string& op) {
    if (op == "-") return db::IntValue::Operation::subtract;
    if (op == "*") return db::IntValue::Operation::multiply;
    if (op == "/") return db::IntValue::Operation::divide;
    return db::IntValue::Operation::add;
}

// "1:-5,2:-4": pairs of numbers; a pair that is too long or not two
// numbers is left out.
std::map<int32_t, int32_t> parseValueMap(const std::string& text) {
    std::map<int32_t, int32_t> mapping;
    size_t from = 0;
    while (from <= text.size()) {
        size_t comma = text.find(',', from);
        if (comma == std::string::npos) comma = text.size();
        std::string pair = text.substr(from, comma - from);
        from = comma + 1;
        if (pair.empty() || pair.size() > kMaxPairLength) continue;
        size_t colon = pair.find(':');
        if (colon == std::string::npos) continue;
        mapping[atoiText(std::string_view(pair).substr(0, colon))] = atoiText(std::string_view(pair).substr(colon + 1));
    }
    return mapping;
}

struct SourceSpec {
    std::string name, op, valueMap;
};

// The number field a SOURCE names, from the record: each leading dot climbs
// two levels (an item, its list, the sheet). A missing field is made as a
// number; a field of another kind gives none.
db::IntValue* resolveSource(db::DbNode* record, const std::string& name) {
    size_t dots = 0;
    while (dots < name.size() && name[dots] == '.') ++dots;
    db::DbNode* base = record;
    for (size_t i = 0; i < dots && base; ++i) base = base->parent ? base->parent->parent : nullptr;
    std::string field = name.substr(dots);
    if (!base || field.empty()) return nullptr;
    db::DbNode* node = base->child(field);
    if (!node) {
        node = base->addChildQuietly(field);
        if (!node || node->attachValue(db::makeValue(db::NodeKind::intValue)) != 0) return nullptr;
    }
    return node->valueAs<db::IntValue>();
}

}  // namespace

NumberControl::NumberControl(Window& w) : Control(w) { kind = ControlKind::number; }

NumberControl::~NumberControl() {
    // Closing under a typed number still sends it; a field that went with
    // its record is not made again for that.
    if (KeyboardFocus() == this) {
        if (db::DbNode* node = boundNode()) {
            if (auto* v = node->valueAs<db::IntValue>()) v->publish(false);
        }
    }
}

void NumberControl::Parse(db::XmlElement& element, db::DbNode* record) {
    readText(element, "NAME", name);
    std::vector<SourceSpec> sources;
    bool invisible = false;
    bool hasMode = false;
    int mode = db::IntValue::normal;
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string& tag) {
        if (ParseCommonChild(*child)) return;
        std::string text;
        if (tag == "VALUE") {
            hasMode = true;
            readText(*child, "TYPE", text);
            mode = text == "modifier" ? db::IntValue::modifier : text == "readonly" ? db::IntValue::readOnly
                                                                                    : db::IntValue::normal;
        } else if (tag == "DESCRIPTION") {
            readText(*child, "TEXT", descriptionText);
            readText(*child, "FIELD", descriptionField);
        } else if (tag == "INVISIBLE") {
            invisible = true;
        } else if (tag == "HIDEONVALUE") {
            hideOnValue = true;
            readInt(*child, "VALUE", hiddenValue);
        } else if (tag == "NODRAG") {
            draggable = false;
        } else if (tag == "NODROP") {
            droppable = false;
        } else if (tag == "NORESET") {
            resettable = false;
        } else if (tag == "NOKEYEDIT") {
            noKeyEdit = true;
        } else if (tag == "DISPLAYSIGN") {
            displaySign = true;
        } else if (tag == "DROPOPERATION") {
            if (readText(*child, "OP", text) && !text.empty()) dropOperation = text[0];
        } else if (tag == "SOURCE") {
            SourceSpec s;
            readText(*child, "NAME", s.name);
            readText(*child, "OP", s.op);
            readText(*child, "VALUEMAP", s.valueMap);
            sources.push_back(std::move(s));
        } else if (tag == "FONT") {
            readText(*child, "NAME", fontName);
        } else if (tag == "LIMITS") {
            hasLimits = true;
            readInt(*child, "MINIMUM", minimum);
            readInt(*child, "MAXIMUM", maximum);
        }
    });
    if (invisible) {
        // No room and no clicks; the value goes on working.
        isAbsolute = true;
        boundLeft = boundTop = boundWidth = boundHeight = 0;
        rect = {};
    }
    Bind(record, db::NodeKind::intValue);
    db::IntValue& v = value();
    if (hasMode) v.mode = mode;
    if (!boundNode()) return;
    for (const SourceSpec& s : sources) {
        db::IntValue* source = resolveSource(record, s.name);
        if (source && source != &v) v.addSource(*source, operationOf(s.op), parseValueMap(s.valueMap));
    }
}

db::IntValue& NumberControl::value() { return *BoundValue<db::IntValue>(); }

int32_t NumberControl::limited(int64_t number) const {
    // The minimum first, then the maximum, as a Ruleset may give them crossed.
    if (hasLimits) {
        if (number < minimum) number = minimum;
        if (number > maximum) number = maximum;
    }
    return clampToInt(number);
}

void NumberControl::moveBaseBy(int64_t delta) {
    db::IntValue& v = value();
    v.set(clampToInt(int64_t(v.base()) + delta));
    Invalidate();
}

void NumberControl::typeDigit(int digit) {
    const int64_t c = value().effective();
    const uint64_t now = platform::nowMs();
    int64_t n;
    if (!typing || now - lastKeyTime >= kTypingPauseMs) {
        n = digit;
    } else if (c >= 0) {
        n = c * 10 + digit;
    } else {
        n = c * 10 - digit;
    }
    if (c == 0 && minusPending) n = -n;
    // The typed number never leaves the 32 bits a value holds.
    n = clampToInt(n);
    moveBaseBy(n - c);
    lastKeyTime = now;
    typing = true;
    minusPending = false;
}

void NumberControl::typeMinus() {
    const int64_t c = value().effective();
    if (c == 0) minusPending = true;
    moveBaseBy(-2 * c);
    lastKeyTime = platform::nowMs();
    typing = true;
    Invalidate();
}

void NumberControl::KeyEvent(int message, int code, int scanCode) {
    if (message != kCharMessage) return;
    if (code == '\t') {
        TabToNeighbour((modifierKeys() & kModShift) != 0);
        return;
    }
    if ((code >= '0' && code <= '9') || code == '-') {
        if (!mayEdit()) return;
        if (code == '-') {
            typeMinus();
        } else {
            typeDigit(code - '0');
        }
        return;
    }
    // Anything else is the start of a chat line.
    focusFallback();
    if (KeyboardTarget* chat = KeyboardFocus(); chat && chat != this) chat->KeyEvent(message, code, scanCode);
}

void NumberControl::TakeFocus() {
    if (noKeyEdit || !mayEdit()) return;
    SetKeyboardFocus(this);
    typing = false;
    lastKeyTime = 0;
    minusPending = false;
    Invalidate();
}

void NumberControl::FocusLost() {
    minusPending = false;
    typing = false;
    value().publish(false);
    Invalidate();
}

int NumberControl::MouseButton(int message, uint32_t, uint32_t) {
    switch (message) {
    case mouse::kLeftDown:
    case mouse::kMiddleDown: return kTakeCapture;
    case mouse::kLeftUp:
        // A click is all it takes: the next digit starts a new number.
        TakeFocus();
        return kTakeCapture;
    case mouse::kMiddleUp:
        if (resettable && mayEdit()) {
            value().set(limited(0));
            value().publish(false);
            Invalidate();
        }
        return kTakeCapture;
    default: return kPass;
    }
}

int NumberControl::MouseWheel(int notches, uint32_t) {
    if (!mayEdit()) return 0;
    db::IntValue& v = value();
    v.set(limited(int64_t(v.base()) + notches));
    v.publish(true);
    Invalidate();
    return 1;
}

int NumberControl::MouseDrag(int message, uint32_t flags, uint32_t startPosition, uint32_t position) {
    if (message == mouse::kMove) {
        if (flags & mouse::kMiddle) {
            if (!mayEdit()) return 0;
            if (!dragActive) {
                dragActive = true;
                dragBase = value().base();
            }
            // Upwards counts up.
            int64_t steps = (mouse::yOf(startPosition) - mouse::yOf(position)) / kPixelsPerStep;
            value().set(limited(int64_t(dragBase) + steps));
            Invalidate();
            return 1;
        }
        if (!(flags & mouse::kLeft) || !draggable || !mayEdit()) return 0;
        if (!currentDragKind(window->desktop())) {
            DragPayload payload;
            GetDragData(payload);
            window->desktop().BeginDrag(*this, payload);
        }
        return 1;
    }
    if (mouse::isRelease(message)) {
        if (dragActive) {
            dragActive = false;
            value().publish(false);
        }
        return 1;
    }
    return 0;
}

void NumberControl::CancelDrag() {
    if (!dragActive) return;
    dragActive = false;
    value().publish(false);
}

int NumberControl::MouseDrop(int, uint32_t flags, uint32_t, DesktopObject* source) {
    // Only a drag that was begun drops: the end of a middle drag over this
    // field is none.
    if (!droppable || !source || !currentDragKind(window->desktop()) || !mayEdit()) return 0;
    DragPayload p;
    source->GetDragData(p);
    db::IntValue& v = value();
    if (p.kind == kDragNumber) {
        const int64_t n = (flags & mouse::kControl) ? -int64_t(p.number) : int64_t(p.number);
        const int64_t base = v.base();
        v.set(limited(dropOperation == '+' ? base + n : dropOperation == '-' ? base - n : n));
    }
    v.publish(false);
    Invalidate();
    return 1;
}

int NumberControl::GetDragData(DragPayload& payload) {
    if (!draggable) return 0;
    payload.kind = kDragNumber;
    payload.number = value().effective();
    db::DbNode* node = boundNode();
    payload.sourcePath = node ? node->pathOf() : std::string();
    payload.description = descriptionText;
    if (!descriptionField.empty() && window->record) {
        db::DbNode* field = window->record->child(descriptionField);
        if (auto* text = field ? field->valueAs<db::StringValue>() : nullptr) payload.description = text->text();
    }
    return 1;
}

void NumberControl::HoverChanged(bool entered) {
    Control::HoverChanged(entered);
    if (draggable) setDesktopCursor(entered ? cursor::kDraggable : cursor::kDefault);
}

std::string NumberControl::shownText() {
    const int32_t n = value().effective();
    if (hideOnValue && n == hiddenValue) return {};
    char text[24];
    if (displaySign && n > 0) {
        std::snprintf(text, sizeof text, "+%d", n);
    } else if (minusPending && n == 0) {
        std::snprintf(text, sizeof text, "-%d", n);
    } else {
        std::snprintf(text, sizeof text, "%d", n);
    }
    return text;
}

void NumberControl::Draw(render::RenderContext& context, const render::Rect& clip) {
    DrawControlFrame(context, clip);
    int32_t x, y;
    GetOrigin(x, y);
    const render::Rect area{x, y, x + rect.width(), y + rect.height()};
    const NumberControlSettings& settings = ruleset().settings.numberControls;
    const bool focused = KeyboardFocus() == this;
    if (focused || (droppable && currentDragKind(window->desktop()) == kDragNumber)) {
        if (FrameDef* glow = findFrame(settings.dropFocus.frame)) {
            const int32_t px = settings.dropFocus.padX, py = settings.dropFocus.padY;
            glow->Draw(context, {area.left - px, area.top - py, area.right + px, area.bottom + py}, lights().frame,
                       &clip);
        }
    }
    if (!font) font = findFont(fontName);
    context.PushFont();
    const std::string text = shownText();
    if (font && !text.empty()) {
        context.SetFont(font);
        render::TextSize size = context.MeasureText(text.data(), int32_t(text.size()));
        // A number wider than its box (typing is not limited) is cut at the
        // box's sides rather than written over its neighbours.
        const render::Rect cut = render::intersect(clip, {area.left, clip.top, area.right, clip.bottom});
        context.DrawText(area.left + (area.width() - size.width) / 2, area.top + (area.height() - size.height) / 2 + 1,
                         text.data(), int32_t(text.size()), &cut);
    }
    const db::IntValue& v = value();
    if (v.mode == db::IntValue::modifier && v.base() != 0) {
        // The tag on the top right corner: the part of the number that was
        // set by hand beside the worked-out part.
        char tag[24];
        std::snprintf(tag, sizeof tag, v.base() > 0 ? "+%d" : "%d", v.base());
        RulesetFont* tagFont = findFont(settings.modifierFont);
        context.SetFont(tagFont);
        render::TextSize size = context.MeasureText(tag, int32_t(std::strlen(tag)));
        const int32_t tx = area.right - size.width / 2, ty = area.top - size.height / 2;
        if (FrameDef* frame = findFrame(settings.modifierFrame)) {
            const int32_t m = settings.modifierFrameMargin;
            frame->Draw(context, {tx - m, ty, tx + size.width + m, ty + settings.modifierFrameHeight}, lights().frame,
                        &clip);
        }
        if (tagFont) context.DrawText(tx, ty, tag, int32_t(std::strlen(tag)), &clip);
    }
    context.PopFont();
}

void NumberControl::Measure(Size& size, int32_t width) {
    if (!font) font = findFont(fontName);
    size = {width, font ? font->LineHeight() : 0};
}

}  // namespace lh::ui
