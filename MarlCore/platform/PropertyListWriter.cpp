// SPDX-License-Identifier: MIT
#include <MarlCore/platform/PropertyList.h>
#include <MarlCore/platform/PropertyListText.h>

namespace platform {
namespace {

constexpr std::string_view kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\">\n";
constexpr std::string_view kFoot = "</plist>\n";

/// Writes one value a line, each container's contents one tab further in.
class Writer {
public:
    explicit Writer(std::string& xml) : m_xml(xml) {}

    void operator()(const PropertyList& list) {
        indent();
        switch (list.type()) {
            case PropertyList::Type::kDictionary:
                return writeDictionary(*list.asDictionary());
            case PropertyList::Type::kArray:
                return writeArray(*list.asArray());
            case PropertyList::Type::kString:
                return writeText("string", *list.asString());
            case PropertyList::Type::kInteger:
                return writeElement("integer", std::to_string(*list.asInteger()));
            case PropertyList::Type::kReal:
                return writeElement("real", textFromReal(*list.asReal()));
            case PropertyList::Type::kBoolean:
                return void(m_xml += *list.asBoolean() ? "<true/>\n" : "<false/>\n");
            case PropertyList::Type::kData:
                return writeElement("data", textFromData(*list.asData()));
            case PropertyList::Type::kDate:
                return writeDate(*list.asDate());
        }
    }

private:
    void writeDictionary(const PropertyList::Dictionary& dictionary) {
        if (dictionary.empty()) return void(m_xml += "<dict/>\n");
        begin("dict");
        for (const auto& [key, value] : dictionary) {
            indent();
            writeText("key", key);
            (*this)(value);
        }
        end("dict");
    }

    void writeArray(const PropertyList::Array& array) {
        if (array.empty()) return void(m_xml += "<array/>\n");
        begin("array");
        for (const PropertyList& value : array) (*this)(value);
        end("array");
    }

    void writeDate(PropertyList::Date date) {
        const auto text = textFromDate(date);
        if (!text) throw PropertyListError(0, "a date outside of the years 0 to 9999");
        writeElement("date", *text);
    }

    void writeText(std::string_view element, std::string_view text) {
        if (findNoXMLCharacter(text) != std::string_view::npos)
            throw PropertyListError(0, "a text with control characters, or not in UTF-8");
        std::string escaped;
        for (const char c : text) appendEscaped(escaped, c);
        writeElement(element, escaped);
    }

    static void appendEscaped(std::string& escaped, char c) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '\r':  // as itself it would be read as a line feed
                escaped += "&#13;";
                break;
            default:
                escaped += c;
        }
    }

    void writeElement(std::string_view element, std::string_view escaped) {
        m_xml.append("<").append(element).append(">").append(escaped);
        m_xml.append("</").append(element).append(">\n");
    }

    void begin(std::string_view container) {
        m_xml.append("<").append(container).append(">\n");
        if (++m_depth > PropertyList::kMostNested) throw PropertyListError(0, "nested too deeply");
    }

    void end(std::string_view container) {
        --m_depth;
        indent();
        m_xml.append("</").append(container).append(">\n");
    }

    void indent() { m_xml.append(static_cast<std::size_t>(m_depth), '\t'); }

    std::string& m_xml;
    int m_depth = 0;
};

}  // namespace

std::string PropertyList::toXML() const {
    std::string xml(kHead);
    Writer writer(xml);
    writer(*this);
    return xml += kFoot;
}

}  // namespace platform
