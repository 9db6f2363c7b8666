#pragma once

// The far end of the null modem, opened by the test itself to play the device byte by byte.

#include "base/Owned.h"

#include <string>
#include <vector>

// The two ends, from the environment: ZO_COM_PAIR holds "COM1,COM101" or other names, and may hold
// more pairs after a blank.
struct ComPair {
    std::string program;
    std::string device;
    int number = 0; // n of the program's end, COMn

    std::string ProgramPath() const { return "\\\\.\\" + program; }
};

ComPair ReadComPair();

// Pairs that a test may use at the same time: `most`, if there are as many.
std::vector<ComPair> AllComPairs(int most = 13);

class ComPeer {
public:
    ComPeer(); // opens the far end; the test fails when that does not work

    void Send(const std::string& bytes);

    // Reads until `count` bytes came or `limit` ms are over.
    std::string Receive(std::size_t count, DWORD limit = 5000);

    // Reads what comes until the line has been silent for `silence` ms.
    std::string ReceiveRest(DWORD silence = 100);

private:
    OwnedHandle m_Handle;
};

// A command line on the wire, with the sum that the simulated device computes.
std::string OnTheWire(const std::string& line);
