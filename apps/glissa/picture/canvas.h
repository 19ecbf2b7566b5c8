// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/picture/trace.h"

#include <cairo.h>

#include <exception>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

enum class PictureFormat : int
{
    png,
    svg,
    pdf
};

struct Colour
{
    double red = 0.0;
    double green = 0.0;
    double blue = 0.0;
    double alpha = 1.0;
};

enum class Align : int
{
    start,
    centre,
    end
};

/// A page to draw on, in pixels from the top left corner (points in a PDF).
///
/// The bytes are passed to a writer. An exception of the writer is thrown by Finish().
class Canvas
{
public:
    using Writer = std::function<void(std::string_view)>;

    /// Throws Refusal if the page cannot be created.
    Canvas(PictureFormat pFormat, int pWidth, int pHeight, const std::string& pTitle,
           Writer pWriter);
    ~Canvas();
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;

    int Width() const { return mWidth; }
    int Height() const { return mHeight; }

    /// Completes the page and its output. Throws Refusal.
    void Finish();

    void FillRectangle(double pX, double pY, double pWidth, double pHeight, const Colour& pColour);
    /// pDashes  alternating lengths of strokes and gaps; empty for a solid line.
    void Line(const std::vector<DevicePoint>& pPoints, double pLineWidth, const Colour& pColour,
              const std::vector<double>& pDashes = {});
    /// A closed polygon, filled, with an outline of another colour.
    void Polygon(const std::vector<DevicePoint>& pPoints, const Colour& pFill,
                 const Colour& pOutline, double pLineWidth);
    void Circle(const DevicePoint& pCentre, double pRadius, const Colour& pFill,
                const Colour& pOutline, double pLineWidth);

    /// Text on a baseline. With pQuarterTurn it reads upward.
    void Text(double pX, double pY, const std::string& pText, double pSize, const Colour& pColour,
              Align pAlign, bool pBold = false, bool pQuarterTurn = false);
    double TextWidth(const std::string& pText, double pSize, bool pBold = false);
    /// The text; if it is wider than pWidth, with an ellipsis instead of its middle, as the ends of
    /// curve names differ most.
    std::string FitText(const std::string& pText, double pSize, double pWidth, bool pBold = false);

    /// Limits drawing to a rectangle until PopClip.
    void PushClip(double pX, double pY, double pWidth, double pHeight);
    void PopClip();

    /// Until PopPart, the page is this rectangle of it: origin, width and height are its own.
    void PushPart(double pX, double pY, int pWidth, int pHeight);
    void PopPart();

private:
    static cairo_status_t Write(void* pCanvas, const unsigned char* pData, unsigned int pLength);
    void SelectFont(double pSize, bool pBold);
    void SetColour(const Colour& pColour);

    PictureFormat mFormat;
    int mWidth;
    int mHeight;
    std::vector<std::pair<int, int>> mPages;  ///< sizes of the pages that a part is of
    Writer mWriter;
    std::exception_ptr mWriteError;
    cairo_surface_t* mSurface = nullptr;
    cairo_t* mCairo = nullptr;
};
