#pragma once

// Makes the application's own look the style of every standard control. It
// must run before the first QML that uses a control is loaded.
void installAppStyle();
