#pragma once

class DialogViewController;

// The dialog with the tutorial's texts and one OK button that dismisses it:
// shown once on the first root, and again whenever the side menu asks.
DialogViewController* makeTutorialDialog();
