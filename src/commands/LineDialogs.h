#pragma once

// The small dialogs for the line: port, baud rate, device. Each covers its terminal's window. GUI
// thread; the calls return at once.

class ZoTerm;

void OpenPortDialog(ZoTerm& terminal);
void OpenBaudRateDialog(ZoTerm& terminal);
void OpenDeviceDialog(ZoTerm& terminal);
