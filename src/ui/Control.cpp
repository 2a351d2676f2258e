// The common part of every control: its element's common children, its
// rectangle, its frame, its binding to a field of the window's record.
#include "ui/Control.h"

#include "db/XmlElement.h"
#include "render/RenderContext.h"
#include "ui/FrameDef.h"
#include "ui/Lights.h"
#include "ui/RulesetData.h"
#include "ui/RulesetXml.h"
#include "ui/Window.h"

namespace lh::ui {

LightColors& lights() {
    static LightColors colors;
    return colors;
}

Control::Control(Window& w) : window(&w) { owner = &w.outermost(); }

Control::~Control() = default;

void Control::Parse(db::XmlElement& element, db::DbNode*) {
    readText(element, "NAME", name);
    forEachChild(element, [&](std::unique_ptr<db::XmlElement> child, const std::string&) { ParseCommonChild(*child); });
}

bool Control::ParseCommonChild(db::XmlElement& child) {
    std::string tag = tagOf(child);
    if (tag.empty()) return true;
    if (tag == "BOUNDS") {
        RectXYWH r;
        if (readRect(child, "RECT", r)) {
            isAbsolute = true;
            boundLeft = r.x;
            boundTop = r.y;
            boundWidth = r.width;
            boundHeight = r.height;
            ComputeRect();
            return true;
        }
        Point p;
        if (readPoint(child, "HPOS", p)) {
            hasHpos = true;
            flowLeft = p.x;
            flowWidth = p.y;
        }
        if (readPoint(child, "VMARGIN", p)) {
            marginTop = p.x;
            marginBottom = p.y;
        }
        return true;
    }
    if (tag == "FRAME") {
        hasFrame = true;
        readText(child, "NAME", frameName);
        RectXYWH r;
        if (readRect(child, "OFFSET", r)) frameOffset = {r.x, r.y, r.width, r.height};
        return true;
    }
    if (tag == "TABTARGET") {
        readText(child, "NEXT", nextName);
        readText(child, "PREV", prevName);
        return true;
    }
    return false;
}

namespace {

// One axis of the rule: a negative start counts from the far edge, a
// negative length is the distance of the end from the far edge, and the end
// never lies before the start.
void placeSpan(int32_t start, int32_t length, int32_t extent, int32_t& from, int32_t& to) {
    from = start < 0 ? extent + start : start;
    to = length < 0 ? extent + length : from + length;
    if (to < from) to = from;
}

}  // namespace

void Control::ComputeRect(const Size* override) {
    int32_t w, h;
    if (override) {
        w = override->width;
        h = override->height;
    } else {
        const render::Rect& r = window->openRect();
        w = r.width();
        h = r.height();
    }
    placeSpan(boundLeft, boundWidth, w, rect.left, rect.right);
    placeSpan(boundTop, boundHeight, h, rect.top, rect.bottom);
}

void Control::FlowExtent(int32_t windowWidth, int32_t& left, int32_t& right) const {
    if (!hasHpos) {
        left = 0;
        right = windowWidth;
        return;
    }
    placeSpan(flowLeft, flowWidth, windowWidth, left, right);
}

void Control::DrawControlFrame(render::RenderContext& context, const render::Rect& clip) {
    if (!hasFrame) return;
    if (!frame) frame = findFrame(frameName);  // a missing frame is looked for again next time
    if (!frame) return;
    int32_t x, y;
    GetOrigin(x, y);
    render::Rect r{x - frameOffset.left, y - frameOffset.top, x + rect.width() + frameOffset.right,
                   y + rect.height() + frameOffset.bottom};
    frame->Draw(context, r, lights().frame, &clip);
}

void Control::Measure(Size& size, int32_t) {
    size.width = rect.width();
    size.height = rect.height();
}

void Control::GetScrollInfo(int32_t info[6]) {
    for (int i = 0; i < 6; ++i) info[i] = 0;
}

void Control::GetOrigin(int32_t& x, int32_t& y) const {
    int32_t wx, wy;
    window->GetOrigin(wx, wy);
    x = wx + rect.left;
    y = wy + rect.top;
}

void Control::Invalidate() { window->outermost().Invalidate(); }

void Control::TabToNeighbour(bool backwards) {
    const std::string& target = backwards ? prevName : nextName;
    if (target.empty()) return;
    if (Control* next = window->FindControl(target)) next->TakeFocus();
}

void Control::Bind(db::DbNode* record, db::NodeKind kind) {
    boundKind = kind;
    if (record && !name.empty()) {
        db::DbNode* node = record->child(name);
        if (!node) {
            node = record->addChildQuietly(name);
            if (node) node->attachValue(db::makeValue(kind));
        }
        if (node && node->kind == kind) return;
    }
    privateValue = db::makeValue(kind);
}

db::DbNode* Control::boundNode() const {
    if (privateValue || name.empty() || !window->record) return nullptr;
    db::DbNode* node = window->record->child(name);
    return node && node->kind == boundKind ? node : nullptr;
}

db::NodeValue* Control::boundValue() {
    if (privateValue) return privateValue.get();
    if (db::DbNode* node = boundNode()) return node->value.get();
    // The field went (deleted from another machine): make it again, as the
    // first binding would have.
    db::DbNode* record = window->record;
    if (record && !name.empty() && !record->child(name)) {
        db::DbNode* node = record->addChildQuietly(name);
        if (node && node->attachValue(db::makeValue(boundKind)) == 0) return node->value.get();
    }
    privateValue = db::makeValue(boundKind);
    return privateValue.get();
}

bool Control::mayEdit() const {
    db::DbNode* node = boundNode();
    return !node || node->canEdit();
}

}  // namespace lh::ui
