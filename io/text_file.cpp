// Copyright (c) 2026 The glissa authors
// SPDX-License-Identifier: MIT

#include "io/text_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>

namespace
{
// A limit for devices that have no end. Motion files are far smaller.
constexpr std::size_t kGreatestFile = std::size_t{1} << 31;
constexpr std::size_t kFirstBlock = std::size_t{1} << 16;

struct FileCloser
{
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};

IoError Fail(const std::string& pPath, std::string pReason)
{
    return {pPath, 0, std::move(pReason)};
}

// The size of the first block. The file is read to its end, whatever its size was before.
std::size_t SizeHint(const std::string& pPath)
{
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(pPath, error);
    return error ? kFirstBlock
                 : static_cast<std::size_t>(std::min<std::uintmax_t>(size, kGreatestFile)) + 1;
}

IoResult<std::string> ReadAll(const std::string& pPath)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(pPath, ignored)) {
        return Fail(pPath, "is a directory");
    }
    errno = 0;
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(pPath.c_str(), "rb"));
    if (!file) {
        return Fail(pPath, std::string("cannot be opened: ") + std::strerror(errno));
    }
    std::string text;
    std::size_t length = 0;
    text.resize(SizeHint(pPath));
    for (;;) {
        const std::size_t got =
            std::fread(text.data() + length, 1, text.size() - length, file.get());
        length += got;
        if (std::ferror(file.get()) != 0) {
            return Fail(pPath, std::string("cannot be read: ") + std::strerror(errno));
        }
        if (length > kGreatestFile) {
            return Fail(pPath, "is larger than 2 GiB");
        }
        if (got == 0) {
            text.resize(length);
            return text;
        }
        if (length == text.size()) {
            text.resize(std::min(length * 2, kGreatestFile + 1));
        }
    }
}
}  // namespace

IoResult<std::string> ReadTextFile(const std::string& pPath)
{
    try {
        return ReadAll(pPath);
    } catch (const std::bad_alloc&) {
        return Fail(pPath, "does not fit into memory");
    }
}
