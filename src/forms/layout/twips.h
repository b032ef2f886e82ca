// Window measures in twips, 1440 to the inch, and the pixels of a screen.
#pragma once

#include <QtGlobal>

inline constexpr double kTwipsPerInch = 1440.0;

inline int TwipsToPixels(double twips, int dpi) { return qRound(twips * dpi / kTwipsPerInch); }
inline double PixelsToTwips(int pixels, int dpi) { return pixels * kTwipsPerInch / dpi; }
