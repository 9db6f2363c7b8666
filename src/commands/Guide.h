#pragma once

// Opens the guide that is delivered with the program, in the program that the user has for pages;
// nothing happens when it is not there. Returns at once.
void OpenGuide();
