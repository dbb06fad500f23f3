// Building, writing and reading the index of a message file.
#include "MessageIndex.h"

#include "MessageFileFormat.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <unordered_map>

namespace msgindex {

namespace {

const char kMagic[8] = {'K', 'E', 'L', 'M', 'O', 'N', 'D', 'X'};
const std::uint32_t kVersion = 1;
const std::size_t kChecksumOffset = 44;

std::uint32_t Fnv1a(const unsigned char* p, std::size_t n, std::uint32_t hash = 2166136261u) {
    for (std::size_t i = 0; i < n; ++i) {
        hash ^= p[i];
        hash *= 16777619u;
    }
    return hash;
}

void Put32(unsigned char* p, std::uint32_t v) {
    for (int i = 0; i < 4; ++i)
        p[i] = static_cast<unsigned char>(v >> (8 * i));
}

void Put16(unsigned char* p, std::uint16_t v) {
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}

std::uint32_t Get32(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0]) | static_cast<std::uint32_t>(p[1]) << 8 |
           static_cast<std::uint32_t>(p[2]) << 16 | static_cast<std::uint32_t>(p[3]) << 24;
}

std::uint16_t Get16(const unsigned char* p) {
    return static_cast<std::uint16_t>(p[0] | p[1] << 8);
}

// Collects the lines of one origin while the file is read.
struct Collector {
    std::vector<Origin> origins;
    std::vector<std::vector<Record>> records;
    std::unordered_map<std::string, std::size_t> slotOfName;

    // The slot of a section, or -1 when the section is left out.
    long SlotOf(const char* name, std::size_t length) {
        if (length == 0 || length > kMaxNameLength)
            return -1;
        std::string key(name, length);
        auto known = slotOfName.find(key);
        if (known != slotOfName.end())
            return static_cast<long>(known->second);
        if (origins.size() >= kSlotCount)
            return -1;
        slotOfName.emplace(key, origins.size());
        origins.push_back(Origin{key, 0, 0});
        records.emplace_back();
        return static_cast<long>(origins.size() - 1);
    }
};

} // namespace

std::uint32_t NameHash(const char* path) {
    const char* name = path;
    for (const char* p = path; *p; ++p)
        if (*p == '\\' || *p == '/' || *p == ':')
            name = p + 1;
    std::uint32_t hash = 2166136261u;
    for (const char* p = name; *p; ++p) {
        const unsigned char upper =
            static_cast<unsigned char>(std::toupper(static_cast<unsigned char>(*p)));
        hash = Fnv1a(&upper, 1, hash);
    }
    return hash;
}

Index Build(const char* bytes, std::size_t size, const Source& source) {
    Collector collector;
    long slot = -1;
    const char* end = bytes + size;
    for (const char* line = bytes; line < end && *line != '\0';) {
        const char* lineEnd = EndOfLine(line, end);
        const MessageLine parsed = ParseMessageLine(line, lineEnd);
        if (parsed.kind == MessageLineKind::Section) {
            slot = collector.SlotOf(parsed.name, parsed.nameLength);
        } else if (parsed.kind == MessageLineKind::Message && slot >= 0) {
            const std::size_t length = static_cast<std::size_t>(lineEnd - line);
            collector.records[static_cast<std::size_t>(slot)].push_back(
                Record{static_cast<std::uint32_t>(line - bytes), parsed.code,
                       static_cast<std::uint16_t>(length < kLongLine ? length : kLongLine)});
        }
        line = NextLine(lineEnd, end);
    }

    Index index;
    index.source = source;
    index.origins = std::move(collector.origins);
    for (std::size_t i = 0; i < index.origins.size(); ++i) {
        std::vector<Record>& own = collector.records[i];
        // Stable: of two lines with one code, the first in the file answers.
        std::stable_sort(own.begin(), own.end(),
                         [](const Record& a, const Record& b) { return a.code < b.code; });
        index.origins[i].first = static_cast<std::uint32_t>(index.records.size());
        index.origins[i].count = static_cast<std::uint32_t>(own.size());
        index.records.insert(index.records.end(), own.begin(), own.end());
    }
    return index;
}

std::vector<unsigned char> Serialize(const Index& index) {
    std::vector<unsigned char> data(kHeaderSize + kTableSize + kRecordSize * index.records.size());
    unsigned char* header = data.data();
    std::memcpy(header, kMagic, sizeof kMagic);
    Put32(header + 8, kVersion);
    Put32(header + 12, static_cast<std::uint32_t>(kHeaderSize));
    Put32(header + 16, static_cast<std::uint32_t>(kTableSize));
    Put32(header + 20, static_cast<std::uint32_t>(index.records.size()));
    Put32(header + 24, static_cast<std::uint32_t>(index.origins.size()));
    Put32(header + 28, index.source.size);
    Put32(header + 32, index.source.written.dwLowDateTime);
    Put32(header + 36, index.source.written.dwHighDateTime);
    Put32(header + 40, index.source.nameHash);
    Put32(header + kChecksumOffset, Fnv1a(header, kChecksumOffset));

    unsigned char* table = header + kHeaderSize;
    for (std::size_t i = 0; i < index.origins.size(); ++i) {
        unsigned char* slot = table + i * kSlotSize;
        const Origin& origin = index.origins[i];
        std::memcpy(slot, origin.name.data(), origin.name.size());
        Put32(slot + kMaxNameLength + 1, origin.first);
        Put32(slot + kMaxNameLength + 5, origin.count);
    }

    unsigned char* record = table + kTableSize;
    for (const Record& r : index.records) {
        Put32(record, r.offset);
        Put16(record + 4, r.code);
        Put16(record + 6, r.length);
        record += kRecordSize;
    }
    return data;
}

namespace {

bool ParseHeader(const unsigned char* header, std::size_t size, Index& index,
                 std::size_t& recordCount, std::size_t& originCount) {
    if (size < kHeaderSize + kTableSize || std::memcmp(header, kMagic, sizeof kMagic) != 0 ||
        Get32(header + 8) != kVersion || Get32(header + 12) != kHeaderSize ||
        Get32(header + 16) != kTableSize ||
        Get32(header + kChecksumOffset) != Fnv1a(header, kChecksumOffset))
        return false;
    recordCount = Get32(header + 20);
    originCount = Get32(header + 24);
    index.source.size = Get32(header + 28);
    index.source.written.dwLowDateTime = Get32(header + 32);
    index.source.written.dwHighDateTime = Get32(header + 36);
    index.source.nameHash = Get32(header + 40);
    return originCount <= kSlotCount &&
           (size - kHeaderSize - kTableSize) / kRecordSize == recordCount &&
           (size - kHeaderSize - kTableSize) % kRecordSize == 0;
}

bool ParseOrigins(const unsigned char* table, std::size_t originCount, std::size_t recordCount,
                  Index& index) {
    std::uint32_t expectedFirst = 0;
    for (std::size_t i = 0; i < originCount; ++i) {
        const unsigned char* slot = table + i * kSlotSize;
        const void* nul = std::memchr(slot, '\0', kMaxNameLength + 1);
        if (!nul || nul == slot)
            return false;
        Origin origin{std::string(reinterpret_cast<const char*>(slot),
                                  static_cast<const unsigned char*>(nul) - slot),
                      Get32(slot + kMaxNameLength + 1), Get32(slot + kMaxNameLength + 5)};
        if (origin.first != expectedFirst || origin.count > recordCount - origin.first)
            return false;
        expectedFirst += origin.count;
        index.origins.push_back(std::move(origin));
    }
    return expectedFirst == recordCount;
}

bool ParseRecords(const unsigned char* data, std::size_t recordCount, Index& index) {
    index.records.resize(recordCount);
    for (std::size_t i = 0; i < recordCount; ++i) {
        const unsigned char* p = data + i * kRecordSize;
        Record& r = index.records[i];
        r.offset = Get32(p);
        r.code = Get16(p + 4);
        r.length = Get16(p + 6);
        if (r.offset >= index.source.size ||
            (r.length != kLongLine && r.length > index.source.size - r.offset))
            return false;
    }
    for (const Origin& origin : index.origins)
        for (std::uint32_t i = origin.first + 1; i < origin.first + origin.count; ++i)
            if (index.records[i - 1].code > index.records[i].code)
                return false;
    return true;
}

} // namespace

bool Parse(const unsigned char* data, std::size_t size, Index& index) {
    index = Index();
    std::size_t recordCount = 0;
    std::size_t originCount = 0;
    const bool ok = ParseHeader(data, size, index, recordCount, originCount) &&
                    ParseOrigins(data + kHeaderSize, originCount, recordCount, index) &&
                    ParseRecords(data + kHeaderSize + kTableSize, recordCount, index);
    if (!ok)
        index = Index();
    return ok;
}

std::pair<std::size_t, std::size_t> FindCode(const Index& index, std::size_t origin,
                                             std::uint16_t code) {
    const Origin& o = index.origins[origin];
    auto first = index.records.begin() + o.first;
    auto last = first + o.count;
    auto range = std::equal_range(first, last, Record{0, code, 0},
                                  [](const Record& a, const Record& b) { return a.code < b.code; });
    return {static_cast<std::size_t>(range.first - index.records.begin()),
            static_cast<std::size_t>(range.second - index.records.begin())};
}

} // namespace msgindex
