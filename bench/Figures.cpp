#include "bench/Figures.h"

#include "TextSource.h"

#include <algorithm>
#include <cstdio>

namespace {

std::string GeneratedText(std::size_t size) {
    sim::TextSource source;
    source.Start(size);
    std::string text;
    while (!source.Done())
        text += source.NextLine();
    return text;
}

} // namespace

void Row(const std::string& what, double figure, const char* unit, double bound) {
    const bool good = figure <= bound;
    if (bound == NoBound)
        std::printf("%-58s %10.2f %-8s\n", what.c_str(), figure, unit);
    else
        std::printf("%-58s %10.2f %-8s bound %8.2f %s\n", what.c_str(), figure, unit, bound,
                    good ? "" : "MISSED");
    std::fflush(stdout);
}

std::size_t ArrivedInLog(const std::string& log, std::size_t size) {
    const std::string text = GeneratedText(size);
    const std::size_t start = log.find(text.substr(0, text.find('\n')));
    if (start == std::string::npos)
        return 0;
    const auto differs = std::mismatch(text.begin(), text.end(),
                                       log.begin() + static_cast<std::ptrdiff_t>(start), log.end());
    return static_cast<std::size_t>(differs.first - text.begin());
}
