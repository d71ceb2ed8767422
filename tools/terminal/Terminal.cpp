#include "terminal/Terminal.h"

#include "base/Failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace Tool
{

namespace
{

struct CodePoint {
    std::uint32_t value;
    std::size_t size; ///< bytes taken
    bool valid;
};

constexpr CodePoint kBroken{0, 1, false};

/// The first code point of a text that is not empty.
CodePoint firstOf(std::string_view text)
{
    const auto lead = static_cast<std::uint8_t>(text[0]);
    if (lead < 0x80)
        return {lead, 1, true};
    const std::size_t size = lead < 0xc2 ? 0 : lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : lead < 0xf5 ? 4 : 0;
    if (size == 0 || text.size() < size)
        return kBroken;
    std::uint32_t value = lead & (0xffU >> (size + 1));
    for (std::size_t i = 1; i < size; ++i) {
        const auto next = static_cast<std::uint8_t>(text[i]);
        if ((next & 0xc0) != 0x80)
            return kBroken;
        value = value << 6 | (next & 0x3fU);
    }
    constexpr std::array<std::uint32_t, 5> kSmallest{0, 0, 0x80, 0x800, 0x10000};
    if (value < kSmallest[size] || value > 0x10ffff || (value >= 0xd800 && value < 0xe000))
        return kBroken;
    return {value, size, true};
}

struct Range {
    std::uint32_t first, last;
};

template <std::size_t N> bool isIn(const std::array<Range, N>& ranges, std::uint32_t value)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const Range& range) { return value >= range.first && value <= range.last; });
}

// C0 and C1 controls, DEL, separators of lines, and the marks that change the direction of text.
constexpr std::array<Range, 6> kActing{
    {{0x00, 0x1f}, {0x7f, 0x9f}, {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f}, {0xfeff, 0xfeff}}};
constexpr std::array<Range, 3> kCombining{{{0x300, 0x36f}, {0x20d0, 0x20ff}, {0xfe00, 0xfe0f}}};
constexpr std::array<Range, 9> kWide{{{0x1100, 0x115f},
                                      {0x2e80, 0xa4cf},
                                      {0xac00, 0xd7a3},
                                      {0xf900, 0xfaff},
                                      {0xfe30, 0xfe6f},
                                      {0xff00, 0xff60},
                                      {0xffe0, 0xffe6},
                                      {0x1f300, 0x1faff},
                                      {0x20000, 0x3fffd}}};

std::size_t columnsOf(const CodePoint& point)
{
    return isIn(kCombining, point.value) ? 0U : isIn(kWide, point.value) ? 2U : 1U;
}

} // namespace

bool onTerminal()
{
    const char* terminal = std::getenv("TERM");
    return isatty(STDOUT_FILENO) == 1 && !(terminal && std::strcmp(terminal, "dumb") == 0);
}

bool colourWanted()
{
    const char* noColour = std::getenv("NO_COLOR");
    return onTerminal() && !(noColour && *noColour);
}

bool unicodeWanted()
{
    for (const char* name : {"LC_ALL", "LC_CTYPE", "LANG"}) {
        const char* locale = std::getenv(name);
        if (locale && *locale)
            return strcasestr(locale, "UTF-8") || strcasestr(locale, "UTF8");
    }
    return false;
}

std::string coloured(std::string_view text, Colour colour)
{
    constexpr std::array<std::string_view, 5> kStart{"", "\033[32m", "\033[33m", "\033[31m", "\033[2m"};
    const std::string_view start = kStart[static_cast<std::size_t>(colour)];
    std::string result{start};
    result += text;
    if (!start.empty())
        result += "\033[0m";
    return result;
}

std::string printable(std::string_view text)
{
    std::string result;
    while (!text.empty()) {
        const CodePoint next = firstOf(text);
        if (next.valid && !isIn(kActing, next.value))
            result += text.substr(0, next.size);
        else
            result += '?';
        text.remove_prefix(next.size);
    }
    return result;
}

std::size_t columnsOf(std::string_view text)
{
    std::size_t columns = 0;
    while (!text.empty()) {
        const CodePoint next = firstOf(text);
        columns += columnsOf(next);
        text.remove_prefix(next.size);
    }
    return columns;
}

std::string cutTo(std::string_view line, std::size_t columns)
{
    constexpr char kEscape = '\033', kEndOfColour = 'm';
    std::string result;
    for (bool full = false; !line.empty();) {
        const CodePoint next = firstOf(line);
        const bool colour = line[0] == kEscape;
        const std::size_t size = colour ? std::min(line.find(kEndOfColour), line.size() - 1) + 1 : next.size;
        const std::size_t width = colour ? 0 : columnsOf(next);
        full = full || width > columns;
        if (!full || colour) {
            result += line.substr(0, size);
            columns -= full ? 0 : width;
        }
        line.remove_prefix(size);
    }
    return result;
}

void writeOut(std::string_view text)
{
    if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size() || std::fflush(stdout) != 0)
        throw Failure(std::string("cannot write to standard output: ") + std::strerror(errno));
}

void complain(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    std::fprintf(stderr, "trx-ipmi: %s\n", printable(text).c_str());
}

} // namespace Tool
