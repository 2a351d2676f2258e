// Parse and walk of a 10 MB document through XmlElement, against raw pugixml
// on the same text. The ratio of the two is the wrapper's cost. Both sides
// copy the text into a buffer of their own and parse that in place (the
// wrapper's entry point takes text it does not own), both walk every
// element and read the same attributes, and both drop the document inside
// the timing.
#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "FairRun.h"

#include <cstring>
#include <string>

#include "db/XmlParse.h"

namespace {

// A database-like document of about 10 MB: records of mixed fields, some
// text with escapes, attributes in lower case as the program writes them.
const std::string& tenMegabytes() {
    static std::string text = [] {
        std::string out = "<root>\n\t<node name=\"charsheet\">\n";
        char line[256];
        for (int record = 1; out.size() < 10u * 1024 * 1024; ++record) {
            std::snprintf(line, sizeof line, "\t\t<node name=\"%05d\">\n\t\t\t<holder name=\"player%d\" owner=\"true\" />\n",
                          record, record % 7);
            out += line;
            for (int field = 0; field < 12; ++field) {
                if (field % 3 == 0) {
                    std::snprintf(line, sizeof line,
                                  "\t\t\t<stringvalue name=\"text%d\" value=\"Caf#e9 &amp; notes #22%d#22\" />\n", field,
                                  record);
                } else {
                    std::snprintf(line, sizeof line, "\t\t\t<intvalue name=\"field%d\" value=\"%d\" />\n", field,
                                  record * field - 50);
                }
                out += line;
            }
            out += "\t\t</node>\n";
        }
        out += "\t</node>\n</root>\n";
        return out;
    }();
    return text;
}

size_t walkWrapped(lh::db::XmlElement& element) {
    size_t sum = 0;
    std::string tag, value;
    for (size_t i = 0;; ++i) {
        std::unique_ptr<lh::db::XmlElement> child = element.childAt(i);
        if (!child) break;
        if (child->tagName(tag) != 0) continue;
        sum += tag.size();
        if (child->attribute("NAME", value) == 0) sum += value.size();
        if (child->attribute("VALUE", value) == 0) sum += value.size();
        sum += walkWrapped(*child);
    }
    return sum;
}

size_t walkRaw(pugi::xml_node node) {
    size_t sum = 0;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() != pugi::node_element) continue;
        sum += std::strlen(child.name());
        if (pugi::xml_attribute a = child.attribute("name")) sum += std::strlen(a.value());
        if (pugi::xml_attribute a = child.attribute("value")) sum += std::strlen(a.value());
        sum += walkRaw(child);
    }
    return sum;
}

void BM_XmlElementParseAndWalk(benchmark::State& state) {
    const std::string& text = tenMegabytes();
    for (auto _ : state) {
        auto root = lh::db::parseXmlText(text, "bench");
        benchmark::DoNotOptimize(walkWrapped(*root));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

void BM_RawPugixmlParseAndWalk(benchmark::State& state) {
    const std::string& text = tenMegabytes();
    for (auto _ : state) {
        pugi::xml_document document;
        std::string buffer(text);
        document.load_buffer_inplace(buffer.data(), buffer.size(), pugi::parse_default, pugi::encoding_utf8);
        benchmark::DoNotOptimize(walkRaw(document.document_element()));
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}

// The parse alone on each side: what the walk adds is the difference.
void BM_XmlElementParseOnly(benchmark::State& state) {
    const std::string& text = tenMegabytes();
    for (auto _ : state) benchmark::DoNotOptimize(lh::db::parseXmlText(text, "bench"));
}

void BM_RawPugixmlParseOnly(benchmark::State& state) {
    const std::string& text = tenMegabytes();
    for (auto _ : state) {
        pugi::xml_document document;
        std::string buffer(text);
        benchmark::DoNotOptimize(
            document.load_buffer_inplace(buffer.data(), buffer.size(), pugi::parse_default, pugi::encoding_utf8));
    }
}

}  // namespace

BENCHMARK(BM_RawPugixmlParseAndWalk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XmlElementParseAndWalk)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawPugixmlParseOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_XmlElementParseOnly)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    return lh::bench::runFairly(
        argc, argv, {{"XmlElement parse and walk / raw pugixml", "BM_XmlElementParseAndWalk", "BM_RawPugixmlParseAndWalk"}});
}
