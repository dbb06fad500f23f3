// The index of a message file: where each origin's messages stand, so that a
// lookup reads one line instead of scanning the file. The file form (".ndx")
// is a 48-byte header, a 131,072-byte table of 1024 origin slots and one
// 8-byte record per message line; docs/MESSAGES.md gives the layout.
#ifndef BASEKEL_SRC_MESSAGEINDEX_H
#define BASEKEL_SRC_MESSAGEINDEX_H

#include "kelwin32.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace msgindex {

const std::size_t kHeaderSize = 48;
const std::size_t kSlotCount = 1024;
const std::size_t kSlotSize = 128;
const std::size_t kTableSize = kSlotCount * kSlotSize; // 131,072
const std::size_t kRecordSize = 8;
// An origin's name and its NUL fill the first 120 bytes of a slot.
const std::size_t kMaxNameLength = 119;
// The length of a line too long for a record's 16 bits.
const std::uint16_t kLongLine = 0xFFFF;

struct Record {
    std::uint32_t offset; // of the line's first byte in the message file
    std::uint16_t code;
    std::uint16_t length; // of the line without its end; kLongLine when longer
};

struct Origin {
    std::string name;
    std::uint32_t first; // index of its first record
    std::uint32_t count;
};

// Which message file the index was made from.
struct Source {
    std::uint32_t size = 0;
    FILETIME written = {0, 0};
    std::uint32_t nameHash = 0; // of the file name, upper case, without directory
};

struct Index {
    Source source;
    std::vector<Origin> origins; // in order of first appearance
    std::vector<Record> records; // grouped by origin, by code within each
};

// The hash the index keeps of a message file's name (directory left out,
// letters compared without case), so that "x.eng" and "x.ger" beside each
// other do not take each other's index.
std::uint32_t NameHash(const char* path);

// Reads a whole message file image. Sections with an empty name or one
// longer than kMaxNameLength, messages outside any section and origins
// beyond kSlotCount are left out.
Index Build(const char* bytes, std::size_t size, const Source& source);

// The file form and back. Parse checks the structure (sizes, magic, header
// check sum, slots and records consistent with each other and with the
// message file's size) and fails on anything else.
std::vector<unsigned char> Serialize(const Index& index);
bool Parse(const unsigned char* data, std::size_t size, Index& index);

// The records of one origin with this code: [first, last).
std::pair<std::size_t, std::size_t> FindCode(const Index& index, std::size_t origin,
                                             std::uint16_t code);

} // namespace msgindex

#endif
