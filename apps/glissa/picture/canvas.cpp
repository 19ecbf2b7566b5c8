// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture/canvas.h"

#include "apps/glissa/printable_text.h"
#include "apps/glissa/refusal.h"

#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <numbers>
#include <tuple>

namespace
{
constexpr const char* kEllipsis = "\u2026";

constexpr std::size_t kLongestStroke = 256;  // points of a line

bool IsContinuation(char pByte)
{
    return (static_cast<unsigned char>(pByte) & 0xC0u) == 0x80u;
}
}  // namespace

#ifdef GLISSA_LEAK_CHECK
// The font library does not free its configuration. The leak check calls these two at its start.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig";
}
extern "C" const char* __lsan_default_options();
extern "C" const char* __lsan_default_options()
{
    return "print_suppressions=0";
}
#endif

Canvas::Canvas(PictureFormat pFormat, int pWidth, int pHeight, const std::string& pTitle,
               Writer pWriter)
    : mFormat(pFormat), mWidth(pWidth), mHeight(pHeight), mWriter(std::move(pWriter))
{
    switch (mFormat) {
    case PictureFormat::png:
        mSurface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, mWidth, mHeight);
        break;
    case PictureFormat::svg:
        mSurface = cairo_svg_surface_create_for_stream(&Canvas::Write, this, mWidth, mHeight);
        cairo_svg_surface_set_document_unit(mSurface, CAIRO_SVG_UNIT_PX);
        break;
    case PictureFormat::pdf:
        mSurface = cairo_pdf_surface_create_for_stream(&Canvas::Write, this, mWidth, mHeight);
        cairo_pdf_surface_set_metadata(mSurface, CAIRO_PDF_METADATA_TITLE,
                                       PrintableText(pTitle).c_str());
        cairo_pdf_surface_set_metadata(mSurface, CAIRO_PDF_METADATA_CREATOR, "glissa");
        break;
    }
    mCairo = cairo_create(mSurface);
    if (const cairo_status_t status = cairo_status(mCairo); status != CAIRO_STATUS_SUCCESS) {
        cairo_destroy(mCairo);
        cairo_surface_destroy(mSurface);
        throw Refusal(fmt::format("cannot create a picture of {} by {}: {}", mWidth, mHeight,
                                  cairo_status_to_string(status)));
    }
    // Without hinting, text has the same width in images and in vector files.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_SLIGHT);
    cairo_font_options_set_antialias(options, CAIRO_ANTIALIAS_GRAY);
    cairo_set_font_options(mCairo, options);
    cairo_font_options_destroy(options);
    cairo_set_line_join(mCairo, CAIRO_LINE_JOIN_ROUND);
    FillRectangle(0, 0, mWidth, mHeight, {1.0, 1.0, 1.0});
}

Canvas::~Canvas()
{
    cairo_destroy(mCairo);
    cairo_surface_destroy(mSurface);
}

void Canvas::Finish()
{
    cairo_status_t status = cairo_status(mCairo);
    if (status == CAIRO_STATUS_SUCCESS) {
        cairo_show_page(mCairo);
        if (mFormat == PictureFormat::png) {
            status = cairo_surface_write_to_png_stream(mSurface, &Canvas::Write, this);
        }
        cairo_surface_finish(mSurface);
        if (status == CAIRO_STATUS_SUCCESS) {
            status = cairo_surface_status(mSurface);
        }
    }
    if (mWriteError) {
        std::rethrow_exception(mWriteError);
    }
    if (status != CAIRO_STATUS_SUCCESS) {
        throw Refusal(fmt::format("cannot draw the picture: {}", cairo_status_to_string(status)));
    }
}

// An exception must not pass through the drawing library; Finish() throws it.
cairo_status_t Canvas::Write(void* pCanvas, const unsigned char* pData, unsigned int pLength)
{
    auto* canvas = static_cast<Canvas*>(pCanvas);
    if (canvas->mWriteError) {
        return CAIRO_STATUS_WRITE_ERROR;
    }
    try {
        canvas->mWriter({reinterpret_cast<const char*>(pData), pLength});
        return CAIRO_STATUS_SUCCESS;
    } catch (...) {
        canvas->mWriteError = std::current_exception();
        return CAIRO_STATUS_WRITE_ERROR;
    }
}

void Canvas::SetColour(const Colour& pColour)
{
    cairo_set_source_rgba(mCairo, pColour.red, pColour.green, pColour.blue, pColour.alpha);
}

void Canvas::FillRectangle(double pX, double pY, double pWidth, double pHeight,
                           const Colour& pColour)
{
    SetColour(pColour);
    cairo_rectangle(mCairo, pX, pY, pWidth, pHeight);
    cairo_fill(mCairo);
}

void Canvas::Line(const std::vector<DevicePoint>& pPoints, double pLineWidth, const Colour& pColour,
                  const std::vector<double>& pDashes)
{
    if (pPoints.size() < 2) {
        return;
    }
    cairo_set_line_width(mCairo, pLineWidth);
    cairo_set_dash(mCairo, pDashes.data(), static_cast<int>(pDashes.size()), 0.0);
    // In an image a line that crosses itself ten thousand times would take seconds. It is drawn in
    // parts, on a layer of its own so that the joints do not show.
    const bool inParts =
        mFormat == PictureFormat::png && pDashes.empty() && pPoints.size() > kLongestStroke;
    const std::size_t length = inParts ? kLongestStroke : pPoints.size();
    if (inParts) {
        cairo_push_group(mCairo);
        SetColour({pColour.red, pColour.green, pColour.blue});
    } else {
        SetColour(pColour);
    }
    for (std::size_t start = 0; start + 1 < pPoints.size(); start += length) {
        const std::size_t end = std::min(pPoints.size(), start + length + 1);
        cairo_move_to(mCairo, pPoints[start].x, pPoints[start].y);
        for (std::size_t i = start + 1; i < end; ++i) {
            cairo_line_to(mCairo, pPoints[i].x, pPoints[i].y);
        }
        cairo_stroke(mCairo);
    }
    if (inParts) {
        cairo_pop_group_to_source(mCairo);
        cairo_paint_with_alpha(mCairo, pColour.alpha);
    }
    cairo_set_dash(mCairo, nullptr, 0, 0.0);
}

void Canvas::Polygon(const std::vector<DevicePoint>& pPoints, const Colour& pFill,
                     const Colour& pOutline, double pLineWidth)
{
    for (const DevicePoint& point : pPoints) {
        cairo_line_to(mCairo, point.x, point.y);
    }
    cairo_close_path(mCairo);
    SetColour(pFill);
    cairo_fill_preserve(mCairo);
    SetColour(pOutline);
    cairo_set_line_width(mCairo, pLineWidth);
    cairo_stroke(mCairo);
}

void Canvas::Circle(const DevicePoint& pCentre, double pRadius, const Colour& pFill,
                    const Colour& pOutline, double pLineWidth)
{
    cairo_new_sub_path(mCairo);
    cairo_arc(mCairo, pCentre.x, pCentre.y, pRadius, 0.0, 2.0 * std::numbers::pi);
    SetColour(pFill);
    cairo_fill_preserve(mCairo);
    SetColour(pOutline);
    cairo_set_line_width(mCairo, pLineWidth);
    cairo_stroke(mCairo);
}

void Canvas::SelectFont(double pSize, bool pBold)
{
    cairo_select_font_face(mCairo, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                           pBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(mCairo, pSize);
}

void Canvas::Text(double pX, double pY, const std::string& pText, double pSize,
                  const Colour& pColour, Align pAlign, bool pBold, bool pQuarterTurn)
{
    const double width = TextWidth(pText, pSize, pBold);
    const double back = pAlign == Align::start ? 0.0 : pAlign == Align::centre ? width / 2 : width;
    SetColour(pColour);
    cairo_save(mCairo);
    cairo_translate(mCairo, pX, pY);
    if (pQuarterTurn) {
        cairo_rotate(mCairo, -std::numbers::pi / 2);
    }
    cairo_move_to(mCairo, -back, 0.0);
    cairo_show_text(mCairo, pText.c_str());
    cairo_restore(mCairo);
    cairo_new_path(mCairo);
}

double Canvas::TextWidth(const std::string& pText, double pSize, bool pBold)
{
    SelectFont(pSize, pBold);
    cairo_text_extents_t extents;
    cairo_text_extents(mCairo, pText.c_str(), &extents);
    return extents.x_advance;
}

std::string Canvas::FitText(const std::string& pText, double pSize, double pWidth, bool pBold)
{
    if (TextWidth(pText, pSize, pBold) <= pWidth) {
        return pText;
    }
    // Removes characters from the middle, one at a time, until the rest fits. A text that no page
    // can hold is shortened at once.
    constexpr std::size_t kMostKept = 400;
    std::size_t start = std::min(pText.size(), kMostKept) / 2;
    std::size_t end = pText.size() - start;
    while (start > 0 && IsContinuation(pText[start])) {
        --start;
    }
    while (end < pText.size() && IsContinuation(pText[end])) {
        ++end;
    }
    while (start > 0 || end < pText.size()) {
        const bool isFront = start >= pText.size() - end;
        if (isFront && start > 0) {
            do {
                --start;
            } while (start > 0 && IsContinuation(pText[start]));
        } else {
            do {
                ++end;
            } while (end < pText.size() && IsContinuation(pText[end]));
        }
        std::string shorter = pText.substr(0, start) + kEllipsis + pText.substr(end);
        if (TextWidth(shorter, pSize, pBold) <= pWidth) {
            return shorter;
        }
    }
    return {};
}

void Canvas::PushClip(double pX, double pY, double pWidth, double pHeight)
{
    cairo_save(mCairo);
    cairo_rectangle(mCairo, pX, pY, pWidth, pHeight);
    cairo_clip(mCairo);
}

void Canvas::PopClip()
{
    cairo_restore(mCairo);
}

void Canvas::PushPart(double pX, double pY, int pWidth, int pHeight)
{
    mPages.emplace_back(mWidth, mHeight);
    mWidth = pWidth;
    mHeight = pHeight;
    cairo_save(mCairo);
    cairo_translate(mCairo, pX, pY);
}

void Canvas::PopPart()
{
    cairo_restore(mCairo);
    std::tie(mWidth, mHeight) = mPages.back();
    mPages.pop_back();
}
