#pragma once

// Tells the frame how to make each screen. Called once before the frame is built.
void registerScreens();
