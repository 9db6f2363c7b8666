// The simulator's command line of any words.

#include "FuzzTarget.h"

#include "simulator/SimOptions.h"

#include <string>
#include <vector>

// The words end with an LF each.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<std::string> words(1);
    for (std::size_t i = 0; i < size; ++i)
        if (data[i] == '\n')
            words.emplace_back();
        else if (data[i] != '\0')
            words.back() += static_cast<char>(data[i]);
    words.pop_back();
    sim::SimOptions options;
    options.port = 0; // what no command line gives
    std::string help;
    const std::string wrong = sim::ParseOptions(words, options, help);
    Demand(IsPrintable(wrong));
    if (!wrong.empty() || !help.empty()) {
        Demand(wrong.empty() != help.empty() && options.port == 0);
        return 0;
    }
    Demand(options.port >= 1 && options.port <= 255);
    Demand(options.baud >= 50 && options.baud <= 4000000);
    Demand(options.pace == 0 || options.pace >= 50);
    Demand(options.replyDelay >= 15 && options.byNumber <= 1);
    return 0;
}
