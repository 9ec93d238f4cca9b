#pragma once

class MediaLibraryManager;

// Gives the library source of `library` its questions to the user, as
// alerts over the window: the one-time consent prompt, and the access page
// that later requests open, where access can still be granted.
void installLibraryConsent(MediaLibraryManager& library);
