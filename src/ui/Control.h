// A DesktopObject placed in a Window by the Ruleset. It reads its common
// children (BOUNDS, FRAME, TABTARGET), computes its rectangle from the
// window's size, and usually binds to the field NAME of the window's record:
// it keeps a pointer to the value object there and reads it at each Draw,
// so two controls on one NAME show one value.
//
// `rect` is relative to the top left corner of the window.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "db/DbNode.h"
#include "ui/DesktopObject.h"

namespace lh::db {
class XmlElement;
}

namespace lh::ui {

class FrameDef;
class Window;

enum class ControlKind : int { other = 0, number = 1, string = 2, windowList = 3, windowOpener = 4 };

struct Size {
    int32_t width = 0, height = 0;
};

class Control : public DesktopObject {
public:
    explicit Control(Window& window);
    ~Control() override;

    // Reads the control's element. The default reads NAME and the common
    // children; controls with children of their own override it and call
    // ParseCommonChild for each child first.
    virtual void Parse(db::XmlElement& element, db::DbNode* record);
    // True when the child was BOUNDS, FRAME or TABTARGET (or no element).
    bool ParseCommonChild(db::XmlElement& child);

    // The rectangle from the bounds and the window's size (`override` when
    // given, else the window's rectangle, or the restore rectangle while
    // minimized). Negative values count from the far edge.
    void ComputeRect(const Size* override = nullptr);
    // The horizontal extent of a flow control in a window `windowWidth` wide.
    void FlowExtent(int32_t windowWidth, int32_t& left, int32_t& right) const;

    virtual void Draw(render::RenderContext& context, const render::Rect& clip) = 0;
    void DrawControlFrame(render::RenderContext& context, const render::Rect& clip);

    // The size the content needs in `width`; the size of rect by default.
    virtual void Measure(Size& size, int32_t width);
    virtual void Arrange(bool /*force*/) {}
    virtual void ShareData() {}
    virtual void MoveBy(int32_t /*dx*/, int32_t /*dy*/) {}
    virtual void GetScrollInfo(int32_t info[6]);
    virtual void ScrollBy(int32_t /*dx*/, int32_t /*dy*/) {}
    virtual void ScrollEnded() {}
    virtual int ShortcutKey(int /*modifiers*/, int /*key*/) { return 0; }
    virtual void TakeFocus() {}

    // HitTest is the default one, in window coordinates: a window asks its
    // controls with the point made relative to itself.
    void GetOrigin(int32_t& x, int32_t& y) const override;

    // Marks the window dirty: a control never draws outside a frame.
    void Invalidate();
    // The tab key: focus to TABTARGET NEXT, or PREV when `backwards`.
    void TabToNeighbour(bool backwards);

    // Binding, at parse: the field `name` of `record` of kind `kind` is
    // made when missing. The value is looked up again at each use, so a
    // field deleted or replaced from another machine is never held dead;
    // with no record, or a field of another kind, a private value held by
    // this control stands in.
    void Bind(db::DbNode* record, db::NodeKind kind);
    template <class V>
    V* BoundValue() {
        return static_cast<V*>(boundValue());
    }
    // The node the control writes to, or null for a private value.
    db::DbNode* boundNode() const;
    // Rights for an edit: the node's canEdit; a private value may always be
    // edited.
    bool mayEdit() const;

    Window* window = nullptr;
    std::string name;
    std::string groupId;
    ControlKind kind = ControlKind::other;
    bool hasFrame = false;
    std::string frameName;
    FrameDef* frame = nullptr;
    render::Rect frameOffset;  // left, top, right, bottom: how far the frame reaches out
    std::string nextName, prevName;
    bool isAbsolute = false;
    bool notCounted = false;
    int32_t boundLeft = 0, boundTop = 0, boundWidth = 0, boundHeight = 0;
    // Flow placement: HPOS left, width and VMARGIN top, bottom.
    bool hasHpos = false;
    int32_t flowLeft = 0, flowWidth = 0;
    int32_t marginTop = 0, marginBottom = 0;

private:
    db::NodeValue* boundValue();
    db::DbNode* record = nullptr;  // the window's; the window dies with it
    db::NodeKind boundKind = db::NodeKind::node;
    std::unique_ptr<db::NodeValue> privateValue;
};

}  // namespace lh::ui
