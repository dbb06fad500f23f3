// The catalogue's self-contained pieces (line format, index, macros,
// languages), compiled into this program as well, so that the tests can
// take them apart; the library keeps its own copies hidden.
#include "../../base/src/MessageFileFormat.cpp"
#include "../../base/src/MessageIndex.cpp"
#include "../../base/src/MessageLanguage.cpp"
#include "../../base/src/MessageMacros.cpp"
