#pragma once

#include <functional>

// The main event loop as a queue: work posted here runs on the main thread
// after the current turn of the loop, whatever thread posts it.
namespace MainQueue {
void async(std::function<void()> work);
}
