// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <memory>
#include <string>

namespace okt
{

// Not installed.

/// What a drawing becomes.
enum class PaintForm
{
    Pixels, ///< a PNG file
    Lines   ///< an SVG document
};

/// Draws paths, strokes, fills and texts on a sheet of pixels, with x to the right and y downwards, angles in
/// radians and clockwise. It is implemented with the graphics library of the system. After a failed call, later calls do nothing.
class Painter
{
public:
    /// Of lines only where the graphics library writes SVG, as cairo does; elsewhere every call fails.
    Painter(int width, int height, PaintForm form);
    Painter(Painter const &) = delete;
    Painter &operator=(Painter const &) = delete;
    ~Painter();

    /// Why a call failed; empty: none failed.
    std::string failure() const;

    void setColour(double red, double green, double blue);
    /// Fills the whole sheet.
    void paint();

    void setLineWidth(double width);
    /// Alternating lengths of dashes and gaps; empty for a solid line.
    void setDashes(double const *lengths, int count);

    void newPath();
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    /// An arc from one angle to a larger one, connected to the end of the path by a line.
    void arc(double x, double y, double radius, double from, double to);
    /// The same to a smaller angle.
    void arcBack(double x, double y, double radius, double from, double to);
    void rectangle(double x, double y, double width, double height);
    void closePath();

    // Strokes have flat ends and round joins. Each of these calls clears the path, unless its comment says otherwise.
    void stroke();
    void strokeAndKeep();
    void fill();
    /// Clips later drawing to the path.
    void clip();

    /// `restore` sets clip, axes and line back to their state at `save`.
    void save();
    void restore();
    void translate(double x, double y);
    void rotate(double angle);

    /// Texts are ASCII. The size is that of a line, in pixels.
    void setFont(double size, bool bold);
    double advanceOf(std::string const &text);
    /// Writes from the end of the path on, along the base line.
    void showText(std::string const &text);

    /// The sheet as PNG; empty if a call failed.
    CByteArray png();
    /// The sheet as SVG, once: it ends the drawing. Empty if a call failed, and for a sheet of pixels.
    std::string svg();

private:
    struct State;

    PaintForm m_form;
    std::unique_ptr<State> m_state;
};

} // namespace okt
