// Attribute texts of the program's own XML files.
#include "db/StoredText.h"

#include "platform/Encoding.h"

namespace lh::db {

void appendAttributeText(std::string& out, std::string_view text) {
    for (char ch : text) {
        unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"': out += "&quot;"; break;
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        default:
            if (c < 32 || c > 126) {
                // The reader takes the file as UTF-8 and turns what it reads
                // back into 8-bit text; a character reference to the code
                // point of the byte comes back as exactly that byte.
                out += "&#";
                out += std::to_string(uint32_t(platform::windows1252ToCodePoint(c)));
                out += ';';
            } else {
                out.push_back(ch);
            }
        }
    }
}

void appendAttribute(std::string& out, std::string_view name, std::string_view text) {
    out.append(name);
    out += "=\"";
    appendAttributeText(out, text);
    out += "\" ";
}

}  // namespace lh::db
