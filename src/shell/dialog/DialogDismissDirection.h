#pragma once

// The way a fling may send the dialog off the screen.
enum class DialogDismissDirection { top = 0, bottom = 1, both = 2, none = 3 };
