#include "cli/Json.h"

#include "cli/EntryText.h"
#include "cli/JsonText.h"

#include "Vellomir/PropertyLists/ValueTexts.h"

#include <cmath>
#include <concepts>
#include <cstdint>
#include <string_view>

#include <nlohmann/json.hpp>

namespace vellomir::cli {
namespace {

using Json = nlohmann::ordered_json;

/// Escapes the control characters that JSON allows as they are but terminals obey: U+007F, and
/// U+0080 to U+009F, which are 0xC2 and the same byte.
std::string withoutControls(const std::string &json) {
    static constexpr std::string_view digits = "0123456789abcdef";
    std::string result;
    result.reserve(json.size());
    for (std::size_t index = 0; index < json.size(); ++index) {
        const bool isPair = json[index] == '\xC2';
        const auto value = static_cast<std::uint8_t>(json[isPair ? index + 1 : index]);
        if ((isPair && value < 0xA0) || value == 0x7F) {
            result += "\\u00";
            result += {digits[value >> 4U], digits[value & 15U]};
            index += isPair ? 1 : 0;
        } else {
            result += json[index];
        }
    }
    return result;
}

constexpr int oneLine = -1;

std::string text(const Json &json, int indent = oneLine) {
    return withoutControls(json.dump(indent, ' ', false, Json::error_handler_t::replace));
}

struct ValueJson {
    Json operator()(const PropertyListNull & /*null*/) const { return nullptr; }
    Json operator()(const std::string &text) const { return text; }
    template <std::integral Number>
    Json operator()(Number number) const {
        Json json = number;
        return json;
    }
    Json operator()(PropertyListReal real) const {
        return std::isfinite(real.value) ? Json(real.value) : Json(formatReal(real));
    }
    Json operator()(PropertyListDate date) const {
        const auto text = formatDate(date);
        return text ? Json(*text) : Json(nullptr);
    }
    Json operator()(const archive::Data &data) const { return formatData(data); }
    Json operator()(PropertyListUID uid) const { return {{"CF$UID", uid.value}}; }
    Json operator()(const PropertyListArray &array) const {
        Json json = Json::array();
        for (const PropertyListValue &element : array)
            json.push_back(std::visit(*this, element.content));
        return json;
    }
    Json operator()(const PropertyListDictionary &dictionary) const {
        Json json = Json::object();
        for (const PropertyListMember &member : dictionary)
            json.emplace(member.key, std::visit(*this, member.value.content));
        return json;
    }
};

Json valueJson(const std::optional<PropertyListValue> &value) {
    return value ? std::visit(ValueJson(), value->content) : Json(nullptr);
}

/// An object whose last member is an empty list, up to where its elements come.
std::string openEnded(const Json &json) {
    std::string head = text(json);
    head.resize(head.size() - std::string_view("]}").size());
    return head;
}

} // namespace

std::string jsonText(const nlohmann::ordered_json &json) {
    return text(json);
}

std::string jobJson(const std::vector<std::string> &log, const std::string &errorMessage,
                    const std::optional<std::string> &result,
                    const std::vector<std::string> &warnings) {
    Json json;
    json["log"] = log;
    json["errorMessage"] = errorMessage;
    json["result"] = result ? Json(*result) : Json(nullptr);
    json["warnings"] = warnings;
    return text(json);
}

std::string copyJson(const std::string &package, const std::optional<std::string> &number,
                     const std::string &jobJson) {
    Json json;
    json["package"] = package;
    json["number"] = number ? Json(*number) : Json(nullptr);
    std::string start = text(json);
    start.back() = ','; // the brace at its end
    return start + jobJson.substr(1);
}

std::string changeReportJson(const ChangeReportContents &contents) {
    Json changes = Json::array();
    for (const PackageChange &change : contents.changes)
        changes.push_back({{"file", change.file},
                           {"keyPath", change.value.keyPath},
                           {"from", valueJson(change.value.from)},
                           {"to", valueJson(change.value.to)}});
    Json kept = Json::array();
    for (const KeptText &each : contents.kept)
        kept.push_back({{"file", each.file}, {"keyPath", each.keyPath}, {"text", each.text}});
    Json json;
    json["package"] = contents.package;
    json["result"] = contents.result;
    json["changes"] = std::move(changes);
    json["kept"] = std::move(kept);
    json["warnings"] = contents.warnings;
    return text(json, 2) + '\n';
}

std::string listHeadJson(const std::string &name, bool isZIP64) {
    Json json;
    json["archive"] = name;
    json["zip64"] = isZIP64;
    json["entries"] = Json::array();
    return openEnded(json);
}

std::string entryJson(const archive::Entry &entry, const std::string &path) {
    const archive::FileAttributes attributes = entry.fileAttributes();
    const auto &record = entry.centralDirectoryStructure();
    Json json;
    json["path"] = path;
    json["type"] = typeName(entry.type());
    json["method"] = record.compressionMethod;
    json["compressedSize"] = entry.compressedSize();
    json["uncompressedSize"] = entry.uncompressedSize();
    json["checksum"] = checksumText(entry.checksum());
    json["modified"] = dateText(attributes.modificationDate, 'T') + "Z";
    json["permissions"] = octalText(attributes.posixPermissions);
    json["dataOffset"] = entry.dataOffset();
    json["localSize"] = entry.localSize();
    json["zip64"] = record.isZIP64();
    return text(json);
}

std::string testHeadJson(const std::string &name, bool isGood) {
    Json json;
    json["archive"] = name;
    json["ok"] = isGood;
    json["problems"] = Json::array();
    return openEnded(json);
}

std::string textJson(std::string_view text) {
    return cli::text(Json(text));
}

std::string changeJson(const std::string &path, const std::vector<std::string> &what) {
    Json json;
    json["path"] = path;
    json["what"] = what;
    return text(json);
}

std::string problemJson(const Problem &problem) {
    Json json;
    json["entry"] = problem.entry;
    json["problem"] = problem.problem;
    return text(json);
}

} // namespace vellomir::cli
