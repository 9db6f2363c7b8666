#pragma once

class ZoTerm;

// GUI thread. Lists the outcome of the last batch's files; one that is open already lists anew. The
// terminal's window is disabled until it is closed. Returns at once.
void OpenSummaryDialog(ZoTerm& terminal);
