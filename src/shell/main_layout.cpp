#include "shell/main_layout.h"

#include <algorithm>

#include "layout/twips.h"

namespace {

constexpr float kToolBarHeight = 870;
constexpr float kStatusBarHeight = 300;
constexpr float kSplitterBound = 2000;  // the tree and the list keep at least this much

float Twips(int pixels, int dpi) { return static_cast<float>(PixelsToTwips(pixels, dpi)); }

}  // namespace

QRect ToPixels(const TwipsBox &box, Dpi dpi)
{
    return QRect(TwipsToPixels(box.left, dpi.x), TwipsToPixels(box.top, dpi.y), TwipsToPixels(box.width, dpi.x),
                 TwipsToPixels(box.height, dpi.y));
}

TwipsBox ToTwips(const QRect &rect, Dpi dpi)
{
    return TwipsBox{Twips(rect.left(), dpi.x), Twips(rect.top(), dpi.y), Twips(rect.width(), dpi.x),
                    Twips(rect.height(), dpi.y)};
}

LayoutPlaces LayOutMainWindow(MainLayout &layout, const LayoutInput &input)
{
    LayoutPlaces places;
    const float scaleWidth = Twips(input.client.width(), input.dpi.x);
    const float scaleHeight = Twips(input.client.height(), input.dpi.y);
    // The bars take the place they are given, to the pixel.
    const auto placed = [&](const TwipsBox &box) { return ToTwips(ToPixels(box, input.dpi), input.dpi); };

    const float toolBarHeight = std::max(kToolBarHeight, Twips(input.toolBarHint, input.dpi.y));
    const float statusBarHeight = std::max(kStatusBarHeight, Twips(input.statusBarHint, input.dpi.y));
    layout.toolBar = placed({0, 0, scaleWidth, toolBarHeight});
    places.statusBar = scaleHeight - statusBarHeight >= 0;
    layout.statusBar = places.statusBar ? placed({0, scaleHeight - statusBarHeight, scaleWidth, statusBarHeight})
                                        : ToTwips(input.statusBarNow, input.dpi);

    TwipsBox &list = layout.list;
    TwipsBox &tree = layout.tree;
    TwipsBox &splitter = layout.splitter;
    list.top = input.toolBarShown ? layout.toolBar.height + layout.toolBar.top : 0;
    const float listHeight = scaleHeight - (input.toolBarShown ? layout.toolBar.height : 0) -
                             (input.statusBarShown ? layout.statusBar.height : 0);
    if (listHeight >= 0) list.height = listHeight;
    tree.top = list.top;
    tree.height = list.height;

    if (input.statusBarShown) {
        // The progress bar stands over the status bar's second panel.
        TwipsBox &progress = layout.progress;
        progress.left = std::max(kStatusPanel1MinWidth, scaleWidth - kStatusPanel2Width);
        if (scaleHeight - progress.height - 20 >= 0) progress.top = scaleHeight - progress.height - 20;
        progress.width = kStatusPanel2Width;
        places.progress = true;
    }

    // The pane's width comes off the room of the list and the tree.
    const float previewWidth =
        input.previewShown ? std::min(std::clamp(scaleWidth * 0.4f, 3000.0f, 9000.0f), std::max(scaleWidth - 2000, 0.0f))
                           : 0.0f;
    const float room = scaleWidth - previewWidth;
    layout.preview = {room, list.top, scaleWidth - room, list.height};

    if (input.explorer) {
        list.left = tree.width + splitter.width;
        if (room - tree.width - splitter.width >= 0) list.width = room - tree.width - splitter.width;
        splitter.left = tree.width;
        splitter.height = tree.height;
    } else {
        list.left = 0;
        list.width = room;
    }
    return places;
}

bool MoveSplitter(MainLayout &layout, float x, float clientWidth)
{
    const float newLeft = layout.splitter.left + x;
    if (!(newLeft > kSplitterBound && newLeft < clientWidth - kSplitterBound)) return false;
    layout.splitter.left = newLeft;
    layout.tree.width = newLeft;
    layout.list.left = layout.splitter.width + newLeft;
    const float listWidth = clientWidth - layout.list.left - 10;
    if (listWidth >= 0) layout.list.width = listWidth;
    return true;
}
