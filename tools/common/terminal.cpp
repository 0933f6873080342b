#include "terminal.h"

#include "printable.h"

#include <cstdlib>
#include <sstream>
#include <sys/ioctl.h>
#include <unistd.h>

namespace kx::tools {
namespace {

constexpr std::size_t kDefaultWidth = 80;

} // namespace

bool WantsColor()
{
    const char* noColor = std::getenv("NO_COLOR");
    return isatty(STDOUT_FILENO) && !(noColor && *noColor);
}

std::size_t TerminalWidth()
{
    winsize size{};
    if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        return size.ws_col;
    const char* columns = std::getenv("COLUMNS");
    const unsigned long width = columns ? std::strtoul(columns, nullptr, 10) : 0;
    return width > 0 ? width : kDefaultWidth;
}

std::string Wrap(const std::string& text, std::size_t width, std::size_t indent)
{
    const std::string newLine = "\n" + std::string(indent, ' ');
    std::string wrapped;
    std::istringstream paragraphs(text);
    for (std::string paragraph; std::getline(paragraphs, paragraph);) {
        wrapped += wrapped.empty() ? "" : newLine;
        std::istringstream words(paragraph);
        std::size_t used = 0;
        for (std::string word; words >> word;) {
            const std::size_t length = ColumnCount(word);
            if (used > 0 && used + 1 + length > width) {
                wrapped += newLine;
                used = 0;
            }
            wrapped += (used > 0 ? " " : "") + word;
            used += (used > 0 ? 1 : 0) + length;
        }
    }
    return wrapped;
}

} // namespace kx::tools
