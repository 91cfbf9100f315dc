#pragma once

#include "Vellomir/Job/DeepChanges.h"
#include "Vellomir/Sending/SendingLimits.h"
#include "archive/Compression.h"
#include "archive/TextEncoding.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

/// The commands, each as one validated value. File names are the user's own text, never empty.
namespace vellomir::cli {

enum class ProgressMode { automatic, always, never };

/// What goes to standard error while a command runs.
struct Feedback {
    ProgressMode progress = ProgressMode::never;
    bool quiet = false; ///< nothing but errors
};

struct DuplicateOptions {
    std::string package;
    std::string number;     ///< any text, also none; not used if name and identifier are given
    bool isNumbered = true; ///< the user gave the number
    std::optional<std::string> icon;
    bool zoom = false;        ///< only with an icon
    bool opaque = false;      ///< only with an icon
    std::string output = "."; ///< an `OutputTemplate`: a folder, or the name of the result
    bool force = false;
    /// Of names that are not marked as UTF-8; nothing: code page 437, and not chosen by the user.
    std::optional<archive::TextEncoding> encoding;
    bool strict = false;          ///< each warning is a failure
    bool allowIncomplete = false; ///< copy what can be reached of a damaged package
    bool json = false;
    DeepChanges changes; ///< `icons` only with an icon
    /// The file that lists what was changed: an `OutputTemplate` whose values are all known.
    std::optional<std::string> report;
    bool onDisk = false; ///< unpack to a folder, also where a list would do
    unsigned jobs = 0;   ///< threads; 0: one a core, at most 8
};

/// Several copies in one run: two at least, of different packages or numbers, with the same options
/// otherwise.
struct DuplicateBatchOptions {
    std::vector<DuplicateOptions> copies;
};

struct InspectOptions {
    std::string package;
    std::optional<archive::TextEncoding> encoding;
    bool json = false;
};

enum class QrMode { automatic, always, never };

struct SendOptions {
    std::string package;
    std::uint16_t port = 0;               ///< 0: one that is free
    std::optional<std::string> interface; ///< nothing: all that are in a local network
    QrMode qr = QrMode::automatic;
    SendingLimits limits; ///< not on the command line
};

struct ListOptions {
    std::string archive;
    std::optional<archive::TextEncoding> encoding;
    bool json = false;
    bool memory = false; ///< the archive is read into memory and worked on there
};

struct ExtractOptions {
    std::string archive;
    std::string destination;
    std::optional<archive::TextEncoding> encoding;
    bool skipCRC32 = false;
    unsigned jobs = 0; ///< threads; 0: one a core, at most 8
};

struct CreateOptions {
    std::string archive;
    std::string source;
    bool keepParent = false;
    archive::CompressionMethod method = archive::CompressionMethod::none;
    unsigned jobs = 0; ///< threads; 0: one a core, at most 8
};

struct AddOptions {
    std::string archive;
    std::vector<std::string> paths; ///< each one that an unpacker takes; no two are the same
    std::string relativeTo = ".";
    archive::CompressionMethod method = archive::CompressionMethod::none;
    bool memory = false;
};

struct RemoveOptions {
    std::string archive;
    std::vector<std::string> entries; ///< exact paths
    bool memory = false;
};

struct CatOptions {
    std::string archive;
    std::string entry;
    bool memory = false;
};

struct TestOptions {
    std::string archive;
    bool json = false;
    bool memory = false;
};

struct CompareOptions {
    std::string first;
    std::string second;
    std::optional<archive::TextEncoding> encoding; ///< of the names in both
    bool contents = false; ///< say nothing of differences that leave the contents equal
    bool json = false;
};

using Options = std::variant<DuplicateOptions, DuplicateBatchOptions, InspectOptions, SendOptions,
                             ListOptions, ExtractOptions, CreateOptions, AddOptions, RemoveOptions,
                             CatOptions, TestOptions, CompareOptions>;

/// What a command line asks for.
struct Request {
    Options options;
    Feedback feedback;
};

} // namespace vellomir::cli
