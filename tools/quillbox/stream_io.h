// Moving a stream's bytes in chunks through _Stream: Seek and ReadBytes on
// the way out, WriteBytes on the way in; and where the stream stands.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>

#include "quillbox/quillbox.h"
#include "tool_support.h"

namespace quillbox::tool {

inline constexpr ULONG kChunkBytes = 64 * 1024;

// Hands sink the bytes from offset on (length of them at most, or all),
// chunk by chunk, with the stream offset of each chunk. ReadBytes fills
// past the end with zeros, so the range is first bounded by Size; an
// offset at or past the end gives nothing.
using ChunkSink = std::function<Status(const BYTE* data, size_t count, std::uint64_t at)>;
Status ReadStream(_Stream* stream, std::uint64_t offset, std::optional<std::uint64_t> length, const ChunkSink& sink);

// The stream's position (Seek(0, ssSeekCurrent)), as the 32-bit offset it
// is.
Status StreamPosition(_Stream* stream, ULONG* position);

// Writes count bytes at the stream's position, in chunks.
Status WriteStream(_Stream* stream, const BYTE* data, size_t count);

}  // namespace quillbox::tool
