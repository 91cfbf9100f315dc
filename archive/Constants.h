#pragma once

#include <cstdint>

/// Signatures, sizes and limits of the ZIP format (APPNOTE.TXT, section 4.3) and the engine's own
/// defaults.
namespace vellomir::archive {

inline constexpr std::uint32_t localFileHeaderStructSignature = 0x04034b50;
inline constexpr std::uint32_t dataDescriptorStructSignature = 0x08074b50;
inline constexpr std::uint32_t centralDirectoryStructSignature = 0x02014b50;
inline constexpr std::uint32_t endOfCentralDirectoryStructSignature = 0x06054b50;
inline constexpr std::uint32_t zip64EOCDRecordStructSignature = 0x06064b50;
inline constexpr std::uint32_t zip64EOCDLocatorStructSignature = 0x07064b50;

/// Sentinels: the full value lives in the ZIP64 field or record.
inline constexpr std::uint32_t maxUInt32 = 0xFFFFFFFF;
inline constexpr std::uint16_t maxUInt16 = 0xFFFF;

/// From these values on, the ZIP64 form is needed.
inline constexpr std::uint32_t maxCompressedSize = maxUInt32;
inline constexpr std::uint32_t maxUncompressedSize = maxUInt32;
inline constexpr std::uint32_t maxOffsetOfLocalFileHeader = maxUInt32;
inline constexpr std::uint32_t maxOffsetOfCentralDirectory = maxUInt32;
inline constexpr std::uint32_t maxSizeOfCentralDirectory = maxUInt32;
inline constexpr std::uint16_t maxTotalNumberOfEntries = maxUInt16;

/// Bytes.
inline constexpr std::int64_t defaultReadChunkSize = 16384;
inline constexpr std::int64_t defaultWriteChunkSize = defaultReadChunkSize;
inline constexpr std::int64_t defaultPOSIXBufferSize = defaultReadChunkSize;
/// The largest buffer that may be asked for.
inline constexpr std::int64_t maxBufferSize = std::int64_t{1} << 30U;

/// Permissions of an item whose entry carries none.
inline constexpr std::uint16_t defaultFilePermissions = 0644;
inline constexpr std::uint16_t defaultDirectoryPermissions = 0755;

/// Progress units of one directory; a file or a link counts its bytes.
inline constexpr std::int64_t defaultDirectoryUnitCount = 1;

/// The smallest distance from the end of a file at which an end-of-central-directory record can
/// start: its fixed size.
inline constexpr std::int64_t minEndOfCentralDirectoryOffset = 22;

/// General-purpose flags (APPNOTE.TXT, section 4.4.4).
inline constexpr std::uint16_t encryptedFlag = 1U << 0U;
inline constexpr std::uint16_t dataDescriptorFlag = 1U << 3U;
inline constexpr std::uint16_t utf8PathFlag = 1U << 11U;

/// Written as "version made by": Unix, format version 2.1.
inline constexpr std::uint16_t versionMadeByUnix = 789;

} // namespace vellomir::archive
