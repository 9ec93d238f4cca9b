#pragma once

// Registers every screen bundle under its name. Call once before the window
// is made; a bundle left out opens a plain page with its name.
void registerBundles();
