// Fault scripts of any text.

#include "FuzzTarget.h"

#include "simulator/FaultScript.h"

#include <algorithm>
#include <string_view>

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto lines = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n')) + 1;
    sim::FaultScript script;
    std::size_t last = 0;
    for (const sim::ScriptError& error : script.Parse(text)) {
        Demand(error.line > last && error.line <= lines);
        Demand(IsPrintable(error.text));
        last = error.line;
    }
    std::size_t kinds = 0;
    for (int kind = 0; kind <= static_cast<int>(sim::FaultKind::Insert); ++kind) {
        const sim::Fault* const fault = script.Find(static_cast<sim::FaultKind>(kind), 1);
        kinds += fault ? 1 : 0;
        Demand(!fault || (static_cast<int>(fault->kind) == kind && fault->command <= 1));
    }
    Demand(kinds <= lines);
    return 0;
}
