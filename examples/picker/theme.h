// Colours, light or dark.
#pragma once

class QApplication;

void applyTheme(QApplication& application, bool isDark);
