#pragma once

#include "testcamera/PictureLayout.h"

#include <QImage>
#include <QSize>
#include <QString>
#include <QTime>

#include <array>
#include <cstdint>
#include <vector>

namespace lumvik::test {

/// The camera's picture, painted directly in the encoder's format (I420, BT.709, limited range), so
/// that every pixel is known and no conversion is necessary.
///
/// The bars, the name and the background are painted once. `paint` updates only the changing parts,
/// which takes a fraction of a millisecond per frame. Rows have the same padding as in
/// GstVideoInfo. The class is not thread-safe, and needs a QGuiApplication for the fonts.
class Picture {
  public:
    enum class Bottom { Ramp, ClockPattern };

    /// `size` must be even in both directions.
    Picture(QSize size, const QString &name, Bottom bottom);

    /// Updates the picture. `milliseconds` is CLOCK_MONOTONIC modulo 2^32 and determines the clock
    /// pattern and the position of the moving block. `wallTime` is the time that the wall clock
    /// shows.
    void paint(std::uint32_t milliseconds, QTime wallTime);

    [[nodiscard]] QSize size() const { return m_size; }
    /// Returns the three planes, one after another.
    [[nodiscard]] const std::vector<std::uint8_t> &data() const { return m_data; }

  private:
    struct Plane {
        std::size_t offset = 0;
        int stride = 0;

        /// Returns the position of a sample in `m_data`.
        [[nodiscard]] std::size_t at(int x, int y) const {
            return offset + static_cast<std::size_t>(y) * static_cast<std::size_t>(stride) +
                   static_cast<std::size_t>(x);
        }
    };
    struct Rectangle {
        int left = 0;
        int top = 0;
        int width = 0;
        int height = 0;
    };
    struct YCbCr {
        std::uint8_t y = 16;
        std::uint8_t cb = 128;
        std::uint8_t cr = 128;
    };

    [[nodiscard]] static YCbCr convert(PictureLayout::Colour colour);
    [[nodiscard]] Rectangle pixels(PictureLayout::Region region) const;
    void fill(Rectangle area, YCbCr colour);
    void fillLuma(Rectangle area, std::uint8_t luma);
    void copyLuma(int left, int top, const QImage &grey);
    void paintStaticParts(const QString &name);
    void prepareDigits();
    void paintWallClock(QTime wallTime);
    void paintMotion(std::uint32_t milliseconds);
    void paintPattern(std::uint32_t milliseconds);

    QSize m_size;
    Bottom m_bottom;
    std::array<Plane, 3> m_planes;
    std::vector<std::uint8_t> m_data;
    /// An image of each character of the wall clock, so that no frame needs a text layout.
    std::array<QImage, 12> m_digits;
    QString m_shownTime;
};

} // namespace lumvik::test
