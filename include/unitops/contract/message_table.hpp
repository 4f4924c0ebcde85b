#pragma once
// Numbered texts: the library's own string table and the host's table of its own numbers.

#include <span>
#include <string>
#include <string_view>

namespace unitops {

struct MessageEntry {
    unsigned key;
    const char* text;
};

//! The library's table (messages from 12288, procedure prompts keyed by procedure ID).
std::span<const MessageEntry> LibraryMessages();
//! Text of a library key; empty for a key that the table lacks.
std::string_view LibraryMessage(unsigned key);

//! The host's own numbers: below 12288 and 17667 to 17706.
std::span<const MessageEntry> HostMessages();
std::string_view HostMessage(unsigned key);
bool IsHostMessageNumber(unsigned key);

//! Text of any message number, from the table it belongs to.
std::string MessageText(unsigned key);
//! Fills "%1" with one string argument, as the host formats a message.
std::string FormatMessage(std::string_view text, std::string_view arg1);

//! Readable names of the page captions and range kinds used in validation.
std::string CaptionText(unsigned caption);
std::string RangeKindText(unsigned kind);

}  // namespace unitops
