// Printing the record tree in its stored form.
//
// Two deliberate differences from a bare "%s" printing, both invisible for
// the usual ASCII names: a name, path or definition with a byte that XML
// would change is written as a reference (StoredText.h), and a value node
// that carries category definitions but no children gets an end tag, so the
// definitions stay inside it rather than falling to its parent. Formatted
// text and image nodes write neither children nor category definitions:
// their elements hold the value's own content, and nothing reads more from
// them.
#include "db/DatabaseWriter.h"

#include <cstdio>

#include "db/DbNode.h"
#include "db/IntValue.h"
#include "db/StoredText.h"
#include "db/StringValue.h"
#include "db/TextEscape.h"

namespace lh::db {

namespace {

void indentTo(std::string& out, int indent) { out.append(size_t(indent > 0 ? indent : 0), '\t'); }

void openTag(std::string& out, const char* element, const DbNode& node) {
    out += '<';
    out += element;
    out += " name=\"";
    appendAttributeText(out, node.name);
    out += '"';
}

void writeHolders(std::string& out, const DbNode& node, int indent) {
    for (const SessionUser* holder : node.holders) {
        indentTo(out, indent);
        out += "<holder name=\"";
        appendAttributeText(out, holder->name.view());
        out += node.owner == holder ? "\" owner=\"true\" />\n" : "\" />\n";
    }
}

void writeCategoryDefinitions(std::string& out, const DbNode& node, int indent) {
    for (const auto& [holder, definition] : node.categoryDefinitions) {
        indentTo(out, indent);
        out += "<categorydef holder=\"";
        appendAttributeText(out, holder);
        out += "\" definition=\"";
        appendAttributeText(out, definition);
        out += "\" />\n";
    }
}

void writeChildren(std::string& out, const DbNode& node, int indent, ExportHooks* exporter) {
    for (const auto& [key, child] : node.children) {
        if (exporter && !child->module.empty()) continue;
        writeNode(out, *child, indent, exporter);
    }
}

bool writesChildren(const DbNode& node, ExportHooks* exporter) {
    for (const auto& [key, child] : node.children) {
        if (!child->isStatic && !(exporter && !child->module.empty())) return true;
    }
    return false;
}

}  // namespace

void writeNode(std::string& out, const DbNode& node, int indent, ExportHooks* exporter) {
    if (node.isStatic) return;
    const char* element = nullptr;
    switch (node.kind) {
    case NodeKind::intValue: element = "intvalue"; break;
    case NodeKind::stringValue: element = "stringvalue"; break;
    case NodeKind::formattedText: {
        indentTo(out, indent);
        openTag(out, "formattedtext", node);
        out += ">\n";
        if (node.value) node.value->writeStored(out, indent + 1);
        indentTo(out, indent);
        out += "</formattedtext>\n";
        return;
    }
    case NodeKind::image:
        if (exporter) {
            exporter->writeImage(out, node, indent);
            return;
        }
        indentTo(out, indent);
        openTag(out, "image", node);
        out += ' ';
        if (node.value) node.value->writeStored(out, indent);
        out += "/>\n";
        return;
    default: element = "node"; break;  // kind 0; nothing makes kind 3
    }

    indentTo(out, indent);
    openTag(out, element, node);
    bool group = element[0] == 'n';
    bool hasBody = writesChildren(node, exporter) || (!exporter && !node.categoryDefinitions.empty());
    if (group) {
        if (!exporter && node.category != 0) out += " category=\"" + std::to_string(node.category) + "\"";
        if (!exporter && !node.module.empty()) {
            out += " module=\"";
            appendAttributeText(out, node.module.view());
            out += '"';
        }
        out += ">\n";
    } else if (node.kind == NodeKind::intValue) {
        const auto* value = node.valueAs<IntValue>();
        out += " value=\"" + std::to_string(value ? value->base() : 0) + "\"";
        out += hasBody ? ">\n" : " />\n";
    } else {
        const auto* value = node.valueAs<StringValue>();
        out += " value=\"";
        if (value) appendEscapedText(out, value->text());
        out += hasBody ? "\">\n" : "\" />\n";
    }

    if (!exporter) {
        if (group) writeHolders(out, node, indent + 1);
        writeCategoryDefinitions(out, node, indent + 1);
    }
    writeChildren(out, node, indent + 1, exporter);
    if (group || hasBody) {
        indentTo(out, indent);
        out += "</";
        out += element;
        out += ">\n";
    }
}

std::string databaseText(const DbNode& root) {
    std::string out = "<root>\n";
    for (const auto& [key, child] : root.children) writeNode(out, *child, 1);
    out += "</root>\n";
    return out;
}

}  // namespace lh::db
