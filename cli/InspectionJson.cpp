#include "cli/EntryText.h"
#include "cli/InspectionText.h"
#include "cli/JsonText.h"

#include <nlohmann/json.hpp>

namespace vellomir::cli {
namespace {

using Object = nlohmann::ordered_json;

/// An array with an object for each item.
template <class Items, class Write>
Object arrayOf(const Items &items, Write write) {
    Object array = Object::array();
    for (const auto &item : items)
        array.push_back(write(item));
    return array;
}

Object warningObject(const InspectionWarning &warning) {
    Object object;
    object["code"] = codeText(warning.code);
    object["message"] = warning.message;
    object["option"] = warning.option.empty() ? Object(nullptr) : Object(warning.option);
    object["concerns"] = warning.concerns;
    return object;
}

Object bundleObject(const InspectedBundle &bundle) {
    Object object;
    object["path"] = bundle.place.folder;
    object["kind"] = nameOf(bundle.place.kind);
    object["identifier"] = bundle.identifier;
    return object;
}

Object languageObject(const LocalizedName &name) {
    Object object;
    object["language"] = name.language;
    object["file"] = name.file;
    object["displayName"] = name.displayName;
    object["name"] = name.name;
    return object;
}

Object sliceObject(const ProgramSlice &slice) {
    const CodeSignature signature = slice.signature.value_or(CodeSignature());
    Object object;
    object["name"] = slice.architecture;
    object["encrypted"] = slice.isEncrypted;
    object["signed"] = slice.isSigned;
    object["identifier"] = signature.identifier;
    object["team"] = signature.team;
    object["applicationIdentifier"] = signature.entitlements.applicationIdentifier;
    object["appGroups"] = signature.entitlements.appGroups;
    object["keychainGroups"] = signature.entitlements.keychainGroups;
    object["boundRights"] = signature.entitlements.boundKeys;
    object["problem"] = slice.problem;
    return object;
}

Object programObject(const Program &program) {
    Object object;
    object["path"] = program.path;
    object["encrypted"] = program.isEncrypted();
    object["architectures"] = arrayOf(program.slices, sliceObject);
    return object;
}

Object profileObject(const std::optional<Profile> &profile) {
    if (!profile)
        return nullptr;
    Object object;
    object["name"] = profile->name;
    object["identifier"] = profile->identifier;
    object["team"] = profile->team;
    object["ends"] = profile->endDate ? Object(dateText(*profile->endDate, 'T') + "Z") : nullptr;
    return object;
}

Object sizedObject(const SizedEntry &entry) {
    Object object;
    object["path"] = entry.path;
    object["size"] = entry.size;
    return object;
}

Object unreadObject(const UnreadItem &item) {
    Object object;
    object["path"] = item.path;
    object["reason"] = item.reason;
    return object;
}

} // namespace

std::string inspectionJson(const Inspection &found) {
    const BundleInfo &info = found.info;
    Object object;
    object["bundle"] = found.bundle;
    object["identifier"] = info.identifier;
    object["displayName"] = info.displayName;
    object["name"] = info.name;
    object["version"] = info.version;
    object["build"] = info.build;
    object["minimumSystemVersion"] = info.minimumSystemVersion;
    object["encrypted"] = found.isEncrypted();
    object["copy"] = found.isCopy;
    object["entries"] = found.entries;
    object["size"] = found.totalSize;
    object["packedSize"] = found.compressedSize;
    object["largestEntries"] = arrayOf(found.largestEntries, sizedObject);
    object["apps"] = found.apps;
    object["icons"] = info.iconNames;
    object["urlSchemes"] = info.urlSchemes;
    object["appGroups"] = found.appGroups;
    object["keychainGroups"] = found.keychainGroups;
    object["profile"] = profileObject(found.profile);
    object["nestedBundles"] = arrayOf(found.nestedBundles, bundleObject);
    object["languages"] = arrayOf(found.localizedNames, languageObject);
    object["programs"] = arrayOf(found.programs, programObject);
    object["unread"] = arrayOf(found.unread, unreadObject);
    object["warnings"] = arrayOf(found.warnings, warningObject);
    return jsonText(object);
}

} // namespace vellomir::cli
