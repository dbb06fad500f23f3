// The lines of a message file. One entry per line:
//   leading blanks and tabs are skipped;
//   "#" or ";" first: a comment;
//   "[" first: an origin section, named by the text up to "]" (blanks and
//     tabs around the name dropped);
//   otherwise a message: a code (decimal, or hexadecimal when it contains
//     "0x"), blanks or tabs, and the text in double quotes. The text is what
//     follows once blanks, tabs and quotes are skipped, up to the next quote
//     (or the end of the line).
// Lines end at CR, LF or CR LF; a NUL byte ends the file.
#ifndef BASEKEL_SRC_MESSAGEFILEFORMAT_H
#define BASEKEL_SRC_MESSAGEFILEFORMAT_H

#include <cstddef>

enum class MessageLineKind {
    Blank,   // nothing but blanks and tabs
    Comment, // "#" or ";"
    Section, // "[name]"
    Message, // code and text
    Other    // a line that starts with no code
};

struct MessageLine {
    MessageLineKind kind = MessageLineKind::Blank;
    const char* name = nullptr; // Section: the name, nameLength bytes
    std::size_t nameLength = 0;
    unsigned short code = 0;    // Message: the code, cut to 16 bits
    const char* text = nullptr; // Message: the text, textLength bytes
    std::size_t textLength = 0;
};

// Reads one line (without its line end).
MessageLine ParseMessageLine(const char* begin, const char* end);

inline bool IsLineEnd(char c) {
    return c == '\r' || c == '\n';
}

// The end of the line that starts at p: the first CR, LF or NUL, or end.
const char* EndOfLine(const char* p, const char* end);

// The start of the next line after a line that ends at p (past CR, LF or
// CR LF); end when the file ends there (at end or at a NUL).
const char* NextLine(const char* p, const char* end);

#endif
