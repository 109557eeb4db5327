#pragma once

#include <QApplication>
#include <memory>

#include "app/AppDelegate.h"
#include "environment/PathsGenerator.h"
#include "remains/SimpleSizeCalculation.h"
#include "ui/qt/RichNotificationWC.h"

// Where the agent's long-lived objects are built from the real services: the
// only place that knows which implementation stands behind each seam.
namespace composition {

// Whether the agent shows its own window (there is an X server, XWayland
// included) or, without one, asks the desktop's notification service.
bool placesItsOwnWindow();
// Picks Qt's platform for that before the application object exists: X, or
// none at all. A platform the user chose is kept.
void chooseWindowSystem();

// The notification window's world without its remains finder: the
// installed-copy rule, the hand-over to the Main application, the help page
// opened in the browser, the primary screen and the main bundle's texts.
RichNotificationWC::Environment notificationEnvironment();

// The window in `environment`, whose remains are found in the home folder of
// `paths` and sized on `calculation` (null: the shared calculator); its
// offer hears of each size that arrives.
std::shared_ptr<RichNotificationWC> createNotificationWindow(
    RichNotificationWC::Environment environment, const PathsGenerator& paths,
    std::shared_ptr<SimpleSizeCalculation> calculation);

// The delegate's world: the user's Trash, the Helper's own bundle, the
// update restarter and the notification window above.
AppDelegate::Environment appDelegateEnvironment();

// Runs the agent in `application` (or hands the files named on the command
// line to the one already running) and answers the process's exit code.
int runAgent(QApplication& application);

}  // namespace composition
