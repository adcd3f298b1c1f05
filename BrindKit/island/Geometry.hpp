#pragma once

namespace brind {

// The plain geometry values the island's layout works in, in points (logical pixels). They are
// kept together because each is a two- or four-number aggregate with no behaviour of its own.

struct PointF {
    double x = 0;
    double y = 0;
    friend bool operator==(const PointF&, const PointF&) = default;
};

struct SizeF {
    double width = 0;
    double height = 0;
    friend bool operator==(const SizeF&, const SizeF&) = default;
};

struct RectF {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;

    double minX() const { return x; }
    double minY() const { return y; }
    double maxX() const { return x + width; }
    double maxY() const { return y + height; }
    double midX() const { return x + width / 2; }
    double midY() const { return y + height / 2; }
    SizeF size() const { return {width, height}; }

    /// Grown by `amount` on every side (shrunk when negative).
    RectF outset(double amount) const {
        return {x - amount, y - amount, width + 2 * amount, height + 2 * amount};
    }

    friend bool operator==(const RectF&, const RectF&) = default;
};

} // namespace brind
