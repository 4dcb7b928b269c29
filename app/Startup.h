#pragma once

class QApplication;

namespace Startup {

// Everything the client does between creating the application object and
// its main window: name, style, the dark style sheet and the bundled font.
// The start-up benchmark calls it too, so it measures exactly this.
void prepareApplication(QApplication& app);

} // namespace Startup
