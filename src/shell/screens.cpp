#include "shell/screens.h"

#include "shell/tallyframe.h"

// Every screen the frame can open, by the class name its menu entries and the board use.
void registerScreens() {
    auto& f = TallyFrame::factories();
    (void)f;
}
