// The picture of an MPQ archive that the program draws for itself: a drum of
// three golden discs, as the embedder shows it and as the icon of ".mpq"
// files.
#pragma once

#include <QtGlobal>

class QPainter;

// Draws the drum `width` wide from `top` down, its left edge at `x`; it is
// about 0.65 times as high as it is wide.
void DrawArchiveDrum(QPainter &painter, qreal x, qreal top, qreal width);
