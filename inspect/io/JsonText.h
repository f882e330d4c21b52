#pragma once

#include <string>

namespace rombus {

// A text from a ROM, a file name or the system as a JSON string carries it without loss: every
// well-formed UTF-8 sequence as it is, every other byte as \xHH and a backslash as \\, so that
// the bytes can be told back from the string and a JSON writer never meets invalid UTF-8.
std::string jsonString(const std::string& bytes);

// A JSON document (nlohmann::json or ordered_json) with every string in it, keys included,
// passed through jsonString.
template <typename Json> Json withJsonStrings(const Json& document) {
    if (document.is_string())
        return jsonString(document.template get<std::string>());
    if (document.is_array()) {
        Json out = Json::array();
        for (const Json& item : document)
            out.push_back(withJsonStrings(item));
        return out;
    }
    if (document.is_object()) {
        Json out = Json::object();
        for (auto item = document.begin(); item != document.end(); ++item)
            out[jsonString(item.key())] = withJsonStrings(item.value());
        return out;
    }
    return document;
}

// The text of a JSON document as every command writes it: its strings lossless, indented by two,
// ending with a line break.
template <typename Json> std::string jsonDocumentText(const Json& document) {
    return withJsonStrings(document).dump(2) + "\n";
}

} // namespace rombus
