// The layout of the main window, in twips as the settings keep its measures:
// the bars dock along the top and bottom edges of the client area, the list
// fills the rest, and in Explorer style the tree and a thin splitter stand at
// its left. Pure arithmetic: the window places its controls from the result.
#pragma once

#include <QRect>
#include <QSize>

// A control's place in twips, within the client area.
struct TwipsBox {
    float left = 0;
    float top = 0;
    float width = 0;
    float height = 0;
};

// The status bar's panels: the first at least this wide, the second, under
// the progress bar, this wide.
inline constexpr float kStatusPanel1MinWidth = 5000;
inline constexpr float kStatusPanel2Width = 2500;

struct Dpi {
    int x = 96;
    int y = 96;
};

QRect ToPixels(const TwipsBox &box, Dpi dpi);
TwipsBox ToTwips(const QRect &rect, Dpi dpi);

// The measures the layout keeps from one run to the next. A measure that
// comes out negative (a tiny or minimised window) is skipped and its
// control keeps its last value.
struct MainLayout {
    TwipsBox toolBar;
    TwipsBox statusBar;
    TwipsBox list;
    TwipsBox tree{0, 0, 3135, 0};
    TwipsBox splitter{0, 960, 50, 0};
    TwipsBox progress{0, 0, 0, 255};
    TwipsBox preview;  // the preview pane at the right, when shown
};

struct LayoutInput {
    QSize client;            // pixels
    int toolBarHint = 0;     // the height each bar asks for, pixels
    int statusBarHint = 0;
    QRect statusBarNow;      // where the status bar stands before the run
    bool toolBarShown = true;
    bool statusBarShown = true;
    bool explorer = false;
    Dpi dpi;
    bool previewShown = false;
};

// Which of the controls that are not always placed a run places.
struct LayoutPlaces {
    bool statusBar = false;
    bool progress = false;
};

// One run of the layout for every change of size, bar or style. The tool
// bar, list, tree and splitter are always placed. A preview pane shown
// takes the right part of the width (two fifths, 3000 to 9000 twips, and
// never the last 2000 the list needs) and the list's height.
LayoutPlaces LayOutMainWindow(MainLayout &layout, const LayoutInput &input);

// One step of a drag of the splitter, `x` twips from its left edge, in a
// client area `clientWidth` twips wide. A position that would leave less
// than 2000 twips to the tree or the list is refused (false). The list
// stops ten twips short of the edge until the next run of the layout.
bool MoveSplitter(MainLayout &layout, float x, float clientWidth);
