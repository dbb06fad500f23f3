// Reading the lines of a message file; shared by the index builder and the
// lookup, which read the same line the same way.
#include "MessageFileFormat.h"

#include "TString.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace {

bool IsBlank(char c) {
    return c == ' ' || c == '\t';
}

const char* SkipBlanks(const char* p, const char* end) {
    while (p < end && IsBlank(*p))
        ++p;
    return p;
}

// A code as the string class's Value reads it: base 16 when the text holds
// "0x" anywhere (Value then starts two characters after the beginning), else
// base 10.
bool ReadCode(const char* begin, const char* end, unsigned short& code) {
    const TString token(begin, static_cast<long>(end - begin));
    return token.Value(code, token.Find(TString("0x")) >= 0 ? 16 : 10, nullptr) != 0;
}

MessageLine SectionLine(const char* p, const char* end) {
    MessageLine line;
    line.kind = MessageLineKind::Section;
    const char* close =
        static_cast<const char*>(std::memchr(p, ']', static_cast<std::size_t>(end - p)));
    const char* nameEnd = close ? close : end;
    const char* name = SkipBlanks(p, nameEnd);
    while (nameEnd > name && IsBlank(nameEnd[-1]))
        --nameEnd;
    line.name = name;
    line.nameLength = static_cast<std::size_t>(nameEnd - name);
    return line;
}

MessageLine MessageTextLine(const char* p, const char* end) {
    MessageLine line;
    const char* numberEnd = p;
    while (numberEnd < end && !IsBlank(*numberEnd) && *numberEnd != '"')
        ++numberEnd;
    if (!ReadCode(p, numberEnd, line.code)) {
        line.kind = MessageLineKind::Other;
        return line;
    }
    const char* text = numberEnd;
    while (text < end && (IsBlank(*text) || *text == '"'))
        ++text;
    const char* close =
        static_cast<const char*>(std::memchr(text, '"', static_cast<std::size_t>(end - text)));
    line.kind = MessageLineKind::Message;
    line.text = text;
    line.textLength = static_cast<std::size_t>((close ? close : end) - text);
    return line;
}

} // namespace

MessageLine ParseMessageLine(const char* begin, const char* end) {
    const char* p = SkipBlanks(begin, end);
    if (p == end)
        return MessageLine();
    if (*p == '#' || *p == ';') {
        MessageLine line;
        line.kind = MessageLineKind::Comment;
        return line;
    }
    if (*p == '[')
        return SectionLine(p + 1, end);
    return MessageTextLine(p, end);
}

const char* EndOfLine(const char* p, const char* end) {
    while (p < end && !IsLineEnd(*p) && *p != '\0')
        ++p;
    return p;
}

const char* NextLine(const char* p, const char* end) {
    if (p >= end || *p == '\0')
        return end;
    if (*p == '\r' && p + 1 < end && p[1] == '\n')
        return p + 2;
    return p + 1;
}
