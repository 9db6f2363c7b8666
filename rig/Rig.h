#pragma once

// What the Linux rig adds to its null modem: recorded modem lines and a cable that can be cut.
// On another null modem these answer nothing, and the tests do without.

#include <cstdint>
#include <optional>
#include <string>

// "DTR=1 RTS=0" for a port's name ("COM1"), as its program last set them.
std::optional<std::string> RecordedModemLines(const std::string& port);

// Takes the port away, as when its adapter is pulled. False where that cannot be done.
bool CutCable(const std::string& port);

// Brings it back; returns when the port can be opened again.
void RestoreCable(const std::string& port);

// The sound that has been played since this was made, as it was heard.
class Recording {
public:
    Recording();
    bool Runs() const { return !m_File.empty(); } // false where nothing records

    // True as soon as a tenth of a second was heard that is mostly a tone of `hertz`;
    // false when none is within `limit` ms. Forgets what came before it.
    bool Hears(double hertz, unsigned long limit = 5000);

private:
    std::string m_File;
    std::size_t m_At = 0; // bytes of it that are done with
};

// The bytes that the null modem has delivered to a port since it exists.
std::optional<std::uint64_t> DeliveredBytes(const std::string& port);
