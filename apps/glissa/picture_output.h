// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT
#pragma once

#include "apps/glissa/arguments.h"
#include "apps/glissa/picture/canvas.h"

#include <functional>
#include <string>
#include <vector>

/// The format of an option ("png", "svg", "pdf"), or without it the one of the suffix of the file;
/// SVG for standard output. pOption  the name of the option, for the message. Throws
/// WrongArguments.
PictureFormat ChoosePictureFormat(const std::string& pPath, const std::string& pFormat,
                                  const char* pOption = "--format");

/// Writes what pDraw draws to a file, completely or not at all. The files of pInputs are refused as
/// target. Throws Refusal, and WrongArguments for a picture to a terminal that is not SVG.
void WritePicture(const std::string& pPath, const std::vector<std::string>& pInputs,
                  PictureFormat pFormat, const SizeArgument& pSize, const std::string& pTitle,
                  const std::function<void(Canvas&)>& pDraw);
