// SPDX-License-Identifier: MIT
#pragma once

#include <oktplatform/oktarrays.h>

#include <memory>
#include <string>

namespace okt
{

// Not installed.

/// What a drawing is made with: paths, strokes, fills and texts on a sheet of pixels, x to the right and y downwards, angles in
/// radians and clockwise. Behind it stands what the system has for that. A call that fails makes every later one do nothing.
class Painter
{
public:
    Painter(int width, int height);
    Painter(Painter const &) = delete;
    Painter &operator=(Painter const &) = delete;
    ~Painter();

    /// Why a call failed; empty when none did.
    std::string failure() const;

    void setColour(double red, double green, double blue);
    /// Covers the whole sheet.
    void paint();

    void setLineWidth(double width);
    /// Lengths of lines and gaps in turn; none for a line without gaps.
    void setDashes(double const *lengths, int count);

    void newPath();
    void moveTo(double x, double y);
    void lineTo(double x, double y);
    /// A part of a circle from one angle to another that is larger, behind a line from where the path ends.
    void arc(double x, double y, double radius, double from, double to);
    /// The same to one that is smaller.
    void arcBack(double x, double y, double radius, double from, double to);
    void rectangle(double x, double y, double width, double height);
    void closePath();

    // Strokes end flat and are joined round. What is done with a path ends it, where no other thing is said.
    void stroke();
    void strokeAndKeep();
    void fill();
    /// What is drawn later shows inside the path alone.
    void clip();

    /// Clip, axes and line are as at `save` again after `restore`.
    void save();
    void restore();
    void translate(double x, double y);
    void rotate(double angle);

    /// Texts are ASCII. The size is that of a line, in pixels.
    void setFont(double size, bool bold);
    double advanceOf(std::string const &text);
    /// From the end of the path on, along the base line.
    void showText(std::string const &text);

    /// The sheet as PNG; nothing when a call failed.
    CByteArray png();

private:
    struct State;

    std::unique_ptr<State> m_state;
};

} // namespace okt
