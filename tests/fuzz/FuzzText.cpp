// Text that comes in pieces: where its characters end, and the times in the log.

#include "FuzzTarget.h"

#include "link/codec/CodePage.h"
#include "link/codec/LogStamp.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr char Time[] = "2026-11-25 14:03:07.123 ";
constexpr std::size_t LongestCharacter = 4; // bytes

// What a piece leaves begins the next one; in the end as much is left as of the whole text.
void DemandSameCharacters(std::string_view text, std::size_t step) {
    std::size_t done = 0;
    for (std::size_t end = std::min(step, text.size());; end = std::min(end + step, text.size())) {
        const std::size_t whole = WholeCharacters(text.data() + done, end - done);
        Demand(whole <= end - done && end - done - whole < LongestCharacter);
        done += whole;
        if (end == text.size())
            break;
    }
    Demand(done == WholeCharacters(text.data(), text.size()));
}

std::string Stamped(std::string_view text, std::size_t step) {
    LogStamp stamp;
    std::string log;
    for (; !text.empty(); text.remove_prefix(std::min(step, text.size()))) {
        const std::size_t count = std::min(step, text.size());
        std::vector<char> out(stamp.StampedSize(text.data(), count)); // the sanitizer guards it
        stamp.Stamp(text.data(), count, Time, out.data());
        log.append(out.begin(), out.end());
    }
    return log;
}

// Every line has a time, and nothing else has come in between.
void DemandStamps(std::string_view text, std::string_view log) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i == 0 || text[i - 1] == '\n') {
            Demand(log.substr(0, LogTimeLength) == Time);
            log.remove_prefix(LogTimeLength);
        }
        Demand(!log.empty() && log[0] == text[i]);
        log.remove_prefix(1);
    }
    Demand(log.empty());
}

} // namespace

// The code page, the size of the pieces, then the text.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    ChooseCodePage(data[0]);
    const std::size_t step = 1U + data[1];
    const std::string_view text(reinterpret_cast<const char*>(data + 2), size - 2);
    DemandSameCharacters(text, step);
    DemandStamps(text, Stamped(text, step));
    return 0;
}
