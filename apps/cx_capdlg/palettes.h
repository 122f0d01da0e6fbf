// Light and dark colours of our own, for machines whose desktop gives none and
// for screenshots.
#ifndef APPS_CX_CAPDLG_PALETTES_H_
#define APPS_CX_CAPDLG_PALETTES_H_

#include <QColor>
#include <QPalette>

namespace corvex {

// The system's palette, unless CX_CAPDLG_PALETTE asks for "light" or "dark".
void ApplyPalette();

bool IsDark(const QPalette& palette);

// Colours that a palette has no role for.
QColor AccentColour(const QPalette& palette);
QColor DoneColour(const QPalette& palette);
QColor CardColour(const QPalette& palette);
QColor FaintColour(const QPalette& palette);      // lines and tracks
QColor SecondaryColour(const QPalette& palette);  // less important text

}  // namespace corvex

#endif  // APPS_CX_CAPDLG_PALETTES_H_
