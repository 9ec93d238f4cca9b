#pragma once

#include "IntakeScreensTestSupport.h"
#include "Localization.h"
#include "Navigation.h"
#include "QuickTestHarness.h"
#include "Storyboard.h"
#include "WiFiScreenController.h"

// The window with the import screen over its first screen, as the add
// button of the music area opens it.
class IntakeViewsTest : public CloudTest {
protected:
    void openImportScreen() {
        WiFiScreenController::setPreferredPort(0);
        ui.launch();
        ViewController* screen =
            Storyboard::storyboardWithName("Download").instantiateInitialViewController();
        Navigation::shared().rootViewController()->presentViewController(screen, false);
        ASSERT_NE(ui.waitFor(Localization::text("download_title")), nullptr);
        ui.settle();
    }

    QuickTestHarness ui;
};
