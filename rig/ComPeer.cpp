#include "rig/ComPeer.h"

#include "simulator/LineReceiver.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>

ComPair ReadComPair() {
    return AllComPairs(1)[0];
}

std::vector<ComPair> AllComPairs(int most) {
    const char* names = std::getenv("ZO_COM_PAIR");
    std::istringstream words(names ? names : "COM1,COM101");
    std::vector<ComPair> pairs;
    for (std::string pair; most-- > 0 && words >> pair;) {
        const std::size_t comma = pair.find(',');
        pairs.push_back({pair.substr(0, comma), pair.substr(comma + 1), 0});
        pairs.back().number = std::atoi(pairs.back().program.c_str() + 3);
    }
    return pairs;
}

ComPeer::ComPeer() {
    const std::string path = "\\\\.\\" + ReadComPair().device;
    const HANDLE handle = CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                      OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE) << path << ": error " << GetLastError();
    if (handle == INVALID_HANDLE_VALUE)
        return;
    m_Handle.reset(handle);

    DCB dcb = {};
    dcb.DCBlength = sizeof(dcb);
    GetCommState(handle, &dcb);
    dcb.BaudRate = 115200;
    dcb.ByteSize = 8;
    dcb.Parity = NOPARITY;
    dcb.StopBits = ONESTOPBIT;
    dcb.fBinary = TRUE;
    dcb.fOutX = dcb.fInX = FALSE;
    dcb.fOutxCtsFlow = dcb.fOutxDsrFlow = FALSE;
    EXPECT_TRUE(SetCommState(handle, &dcb));
    COMMTIMEOUTS timeouts = {MAXDWORD, MAXDWORD, 10, 0, 0}; // a read waits 10 ms for a first byte
    EXPECT_TRUE(SetCommTimeouts(handle, &timeouts));
    ReceiveRest(20); // what an earlier test left on the line
}

void ComPeer::Send(const std::string& bytes) {
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(m_Handle.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written,
                          nullptr));
    EXPECT_EQ(written, bytes.size());
}

std::string ComPeer::Receive(std::size_t count, DWORD limit) {
    const ULONGLONG end = GetTickCount64() + limit;
    std::string bytes;
    while (bytes.size() < count && GetTickCount64() < end) {
        char chunk[512];
        DWORD taken = 0;
        const std::size_t wanted = count - bytes.size();
        ReadFile(m_Handle.get(), chunk,
                 static_cast<DWORD>(wanted < sizeof(chunk) ? wanted : sizeof(chunk)), &taken,
                 nullptr);
        bytes.append(chunk, taken);
    }
    return bytes;
}

std::string ComPeer::ReceiveRest(DWORD silence) {
    std::string bytes;
    for (;;) {
        const std::string more = Receive(1, silence);
        if (more.empty())
            return bytes;
        bytes += more;
    }
}

std::string OnTheWire(const std::string& line) {
    std::string wire = line.empty() || line.back() != '\n' ? line + "\n" : line;
    const std::uint16_t sum = sim::LineSum(wire.substr(0, wire.find_last_not_of("\r\n") + 1));
    wire += static_cast<char>(sum & 0xFF);
    wire += static_cast<char>(sum >> 8);
    return wire;
}
