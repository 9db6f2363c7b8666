#pragma once

// Terminals with a simulated device each, all at work.

#include "rig/ComPeer.h"
#include "rig/Files.h"
#include "rig/SimDevice.h"

#include <memory>
#include <string>
#include <vector>

class ZoTerm;

class Crowd {
public:
    // Opens terminals of this process up to the number of pairs; the first one is open already.
    Crowd(const TestFolder& folder, const std::vector<ComPair>& pairs);

    // Each terminal is to do so many operations more: it sends a file and receives another, in
    // turn. Half of them begin with the one, half with the other.
    void Assign(int operations, std::size_t fileSize);

    // Starts what can be started. True when all is done.
    bool AllDone();

    // Pulls the adapter of one terminal and plugs it in again, with the device switched off and on:
    // what ran there has failed, and is to be repeated.
    void Replug(std::size_t terminal, int operations);

    // Files that did not arrive as they were, of those last assigned.
    int WrongFiles() const;

    // Closes the terminals, in an order of no order.
    void Close();

    HWND FirstWindow() const;

private:
    struct Worker {
        ZoTerm* terminal;
        std::unique_ptr<SimDevice> device;
        std::string place; // its folder
        ComPair pair;
        int left = 0; // operations
    };

    void SwitchOn(Worker& worker);
    void Start(Worker& worker, bool sends);

    const TestFolder& m_Folder;
    std::vector<Worker> m_Workers;
    std::size_t m_FileSize = 0;
};
