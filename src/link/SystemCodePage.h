#pragma once

// Once, at the start of a program: its 8-bit texts are in the system's code page, see
// codec/CodePage.h.
void UseSystemCodePage();
