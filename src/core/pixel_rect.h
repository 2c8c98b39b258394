#pragma once

namespace kelvane {

// A rectangle of whole pixels: x and y of the top-left corner, and the size.
// The right edge x + width and the bottom edge y + height are outside it.
struct PixelRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool empty() const { return width <= 0 || height <= 0; }
    long long area() const { return empty() ? 0 : static_cast<long long>(width) * height; }
    bool contains(int px, int py) const {
        return px >= x && py >= y && px < x + width && py < y + height;
    }
    friend bool operator==(const PixelRect&, const PixelRect&) = default;
};

}  // namespace kelvane
