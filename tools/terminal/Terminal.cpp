// SPDX-License-Identifier: Apache-2.0
// What a terminal is told, and what is kept from it.
#include "terminal/Terminal.h"

#include "base/Failure.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cuchar>
#include <cwchar>
#include <locale.h>
#include <unistd.h>

namespace Tool
{

namespace
{

/// While it lives text is UTF-8 on this thread, whatever the user's locale says. Where the system has no such locale
/// all but ASCII is broken.
class Utf8Scope
{
public:
    Utf8Scope() : before_(::uselocale(utf8())) {}
    ~Utf8Scope() { ::uselocale(before_); }
    Utf8Scope(const Utf8Scope&) = delete;
    Utf8Scope& operator=(const Utf8Scope&) = delete;

private:
    static locale_t utf8()
    {
        static const locale_t locale = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale;
    }
    locale_t before_;
};

struct CodePoint {
    char32_t value;
    std::size_t size; ///< bytes taken
    bool valid;
};

/// The first code point of a text that is not empty. In a Utf8Scope.
CodePoint firstOf(std::string_view text)
{
    std::mbstate_t state{};
    char32_t value = 0;
    const std::size_t size = std::mbrtoc32(&value, text.data(), text.size(), &state);
    constexpr char32_t kLast = 0x10ffff;
    if (size > text.size() || value > kLast) // a size beyond the text: broken, or cut
        return {0, 1, false};
    return {value, std::max<std::size_t>(size, 1), true};
}

struct Range {
    char32_t first, last;
};

template <std::size_t N> bool isIn(const std::array<Range, N>& ranges, char32_t value)
{
    return std::any_of(ranges.begin(), ranges.end(),
                       [&](const Range& range) { return value >= range.first && value <= range.last; });
}

// C0 and C1 controls, DEL, separators of lines, and the marks that change the direction of text.
constexpr std::array<Range, 6> kActing{
    {{0x00, 0x1f}, {0x7f, 0x9f}, {0x200b, 0x200f}, {0x2028, 0x202e}, {0x2060, 0x206f}, {0xfeff, 0xfeff}}};

/// What the system knows no width of takes a column. In a Utf8Scope.
std::size_t columnsOf(const CodePoint& point)
{
    const int width = ::wcwidth(static_cast<wchar_t>(point.value));
    return width < 0 ? 1 : static_cast<std::size_t>(width);
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
    const Utf8Scope scope;
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
    const Utf8Scope scope;
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
    const Utf8Scope scope;
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
