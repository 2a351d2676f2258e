// XmlElement: the only way the program reads XML. One element (or text piece)
// of a parsed document; every element keeps its document alive on its own,
// so elements may be deleted in any order.
//
// What callers rely on, whatever parser stands behind it:
//  1. tagName comes back in upper case.
//  2. attribute names are found without regard to case.
//  3. attribute values come back as written, with references resolved.
//  4. children are enumerated in document order and include text pieces,
//     which answer -1 to tagName and give their text by text().
//  5. the root is the document's outermost element.
//  6. an absent attribute (-1) differs from an empty one (0, empty text).
// All text is the program's 8-bit text (Windows-1252). The elements of one
// document are used on one thread at a time: they share a plain count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "db/NodePool.h"

namespace pugi {
struct xml_node_struct;
}

namespace lh::db {

struct XmlDocumentHolder;

// The count of elements that keep a document alive: the part of the
// document that elements touch as they are made and dropped, visible here so
// that a walk over a large document does both inline.
struct XmlDocumentShares {
    uint32_t sharers = 0;
    // The parse kept no comments or processing instructions: every child of
    // an element is an element or a text piece, with no need to ask which.
    bool plainChildren = false;
};

class XmlElement final : public Pooled<XmlElement> {
public:
    // Limits of the fixed-buffer forms, as the callers' buffers are sized.
    static constexpr size_t maxTagName = 1024;
    static constexpr size_t maxAttributeValue = 1024;

    // Takes a share of the document, which goes when its last element does.
    XmlElement(XmlDocumentHolder* document, pugi::xml_node_struct* node);
    ~XmlElement() {
        if (sharing && --document->sharers == 0) drop(document);
    }
    XmlElement(const XmlElement&) = delete;
    XmlElement& operator=(const XmlElement&) = delete;

    // The child at index, or null past the end. Callers index through the
    // children in order: the element keeps its place in them, so that each
    // step costs the same however many children there are.
    std::unique_ptr<XmlElement> childAt(size_t index) {
        if (index >= childTotal) return nullptr;
        pugi::xml_node_struct* child = seekChild(index);
        if (!child) return nullptr;
        return std::unique_ptr<XmlElement>(new XmlElement(Shared{}, document, child));
    }
    size_t childCount();

    // Visits the children in document order, text pieces included, each
    // lent to `visit` for the length of the call only; false from `visit`
    // stops the walk. The fast road for loaders of large documents: no child
    // is allocated and no list is gathered.
    template <class Visit>
    void forEachChild(Visit&& visit) const {
        using Callable = std::remove_reference_t<Visit>;
        visitChildren([](void* callable, XmlElement& child) -> bool { return (*static_cast<Callable*>(callable))(child); },
                      const_cast<void*>(static_cast<const void*>(&visit)));
    }

    // The index of the name in `upperNames` that the tag name equals without
    // regard to case, or -1 (also for a text piece). Compares in place: the
    // fast road for loaders that know the tags they read.
    int tagIndex(std::initializer_list<std::string_view> upperNames) const;

    // 0 and the tag name in upper case, or -1 for a text piece.
    int tagName(std::string& out) const;
    // Fixed-buffer form: cut to fit, always zero-terminated.
    int tagName(char* buffer, size_t size) const;
    bool isText() const;

    // 0 and the value, or -1 with `out` left as it was.
    int attribute(std::string_view upperName, std::string& out) const;
    int attribute(std::string_view upperName, char* buffer, size_t size) const;
    // Several attributes in one pass: the value of upperNames[i] goes to
    // *outs[i] (left as it was when absent), and bit i of the answer tells
    // that it was there. At most 8 names.
    unsigned attributes(std::initializer_list<std::string_view> upperNames, std::string* const* outs) const;

    // The same without copies, for loaders of large documents: the value of
    // upperNames[i] goes to views[i] and stays valid while the document
    // lives, or, for a value that needs turning into 8-bit text, while
    // scratch[i] is left alone. Absent attributes leave their view as it was.
    unsigned attributeViews(std::initializer_list<std::string_view> upperNames, std::string_view* views,
                            std::string* scratch) const;

    // The text of a text piece, or of all text pieces below an element joined
    // in order; nullopt when there is none.
    std::optional<std::string> text() const;

    // The element's content printed back as XML, one line per child element,
    // for values that keep XML they do not interpret yet. No line break,
    // tab or character above 127 stands in it as it is: each is written as
    // a character reference, so the markup can be indented into a file and
    // read back to the same markup any number of times.
    std::string innerMarkup() const;

private:
    // A lent child: it holds no share of its own; the element that lent it
    // keeps the document alive while it exists.
    struct Lent {};
    XmlElement(Lent, XmlDocumentShares* doc, pugi::xml_node_struct* n) : document(doc), sharing(false), node(n) {}
    // A child made by childAt: a share of the same document.
    struct Shared {};
    XmlElement(Shared, XmlDocumentShares* doc, pugi::xml_node_struct* n) : document(doc), sharing(true), node(n) {
        ++document->sharers;
    }
    static void drop(XmlDocumentShares* document);  // the last share went

    XmlDocumentShares* document;
    bool sharing;  // holds a share of the document (not lent)
    pugi::xml_node_struct* node;
    // Where childAt last stood: the child and its index.
    pugi::xml_node_struct* cursor = nullptr;
    size_t cursorIndex = 0;
    size_t childTotal = SIZE_MAX;  // counted when first asked for

    // The child at index, or null past the end (then the count is known).
    pugi::xml_node_struct* seekChild(size_t index);
    // The walk behind forEachChild: a plain function and its callable, which
    // costs less than a std::function made for every element of a document.
    void visitChildren(bool (*visit)(void* callable, XmlElement& child), void* callable) const;
};

}  // namespace lh::db
