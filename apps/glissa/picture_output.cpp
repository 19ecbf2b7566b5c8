// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "apps/glissa/picture_output.h"

#include "apps/glissa/file_name.h"
#include "apps/glissa/output.h"
#include "apps/glissa/refusal.h"

#include <fmt/format.h>

PictureFormat ChoosePictureFormat(const std::string& pPath, const std::string& pFormat,
                                  const char* pOption)
{
    if (pFormat.empty() && (pPath.empty() || pPath == "-")) {
        return PictureFormat::svg;
    }
    const std::string name = pFormat.empty() ? FileSuffix(pPath) : pFormat;
    if (name == "png") {
        return PictureFormat::png;
    }
    if (name == "svg") {
        return PictureFormat::svg;
    }
    if (name == "pdf") {
        return PictureFormat::pdf;
    }
    throw WrongArguments(fmt::format(
        "--output: '{}' does not have the suffix of a picture: use .png, .svg or .pdf, or give {}",
        pPath, pOption));
}

void WritePicture(const std::string& pPath, const std::vector<std::string>& pInputs,
                  PictureFormat pFormat, const SizeArgument& pSize, const std::string& pTitle,
                  const std::function<void(Canvas&)>& pDraw)
{
    Output output(pPath, pInputs);
    if (output.IsTerminal() && pFormat != PictureFormat::svg) {
        throw WrongArguments("a picture cannot be written to a terminal: give --output FILE");
    }
    Canvas canvas(pFormat, pSize.width, pSize.height, pTitle,
                  [&output](std::string_view pBytes) { output.Write(pBytes); });
    pDraw(canvas);
    canvas.Finish();
    output.Commit();
}
