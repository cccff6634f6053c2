#include "report/reader/source.hpp"

#include "report/reader/inputs.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <unistd.h>
#include <utility>
#include <vector>
#include <zlib.h>
#include <zstd.h>

namespace report
{

namespace
{

/// Standard input stays open.
struct Descriptor
{
    explicit Descriptor(int number) : number(number) {}
    ~Descriptor()
    {
        if (number > STDIN_FILENO)
        {
            close(number);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number;
};

/// An open file whose first bytes were looked at.
class File
{
  public:
    explicit File(const std::string& path)
        : name(path == "-" ? "standard input" : path),
          descriptor(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC))
    {
        if (descriptor.number < 0)
        {
            fail(std::strerror(errno));
        }
        look_at_start();
    }

    /// The first bytes, as far as they are not read yet: four of them, or less in a shorter file.
    std::string_view start() const
    {
        return unread_start;
    }

    std::size_t read(std::span<char> buffer)
    {
        if (unread_start.empty())
        {
            return read_from_descriptor(buffer);
        }
        const auto size = unread_start.copy(buffer.data(), buffer.size());
        unread_start.remove_prefix(size);
        return size;
    }

    [[noreturn]] void fail(const std::string& what) const
    {
        throw InputError(name + ": " + what);
    }

  private:
    void look_at_start()
    {
        std::size_t size = 0;
        while (size < first_bytes.size())
        {
            // A pipe may hand them out one by one.
            const auto more = read_from_descriptor(std::span(first_bytes).subspan(size));
            if (more == 0)
            {
                break;
            }
            size += more;
        }
        unread_start = {first_bytes.data(), size};
    }

    std::size_t read_from_descriptor(std::span<char> buffer)
    {
        for (;;)
        {
            const auto size = ::read(descriptor.number, buffer.data(), buffer.size());
            if (size >= 0)
            {
                return static_cast<std::size_t>(size);
            }
            if (errno != EINTR)
            {
                fail(std::strerror(errno));
            }
        }
    }

    std::string name;
    Descriptor descriptor;
    std::array<char, 4> first_bytes{};
    std::string_view unread_start;
};

class PlainSource : public ByteSource
{
  public:
    explicit PlainSource(std::unique_ptr<File> file) : file(std::move(file)) {}

    std::size_t read(std::span<char> buffer) override
    {
        return file->read(buffer);
    }

  private:
    std::unique_ptr<File> file;
};

/// What gzip and zstd share: what was decompressed before an error is handed out before it is raised.
class DecompressedSource : public ByteSource
{
  public:
    DecompressedSource(std::unique_ptr<File> file, std::string format)
        : file(std::move(file)), format(std::move(format)), compressed(131072)
    {}

    std::size_t read(std::span<char> buffer) override
    {
        std::size_t size = 0;
        while (size == 0 && failure.empty() && (has_more() || fill()))
        {
            size = decompress(buffer);
        }
        if (size == 0 && !failure.empty())
        {
            file->fail(failure);
        }
        return size;
    }

  protected:
    /// Decompresses from `unread` into the buffer; sets `inside`, and `failure` on an error.
    virtual std::size_t decompress(std::span<char> buffer) = 0;

    /// Whether `decompress` can go on without further input.
    virtual bool has_more() const
    {
        return !unread.empty();
    }

    void fail_with(const std::string& why)
    {
        failure = "damaged " + format + " data: " + why;
    }

    std::span<char> unread; ///< Compressed bytes.
    bool inside = true;     ///< Of a gzip member or zstd frame that is not complete.

  private:
    bool fill()
    {
        unread = std::span(compressed).first(file->read(compressed));
        if (unread.empty() && inside)
        {
            failure = "the " + format + " data is cut short";
        }
        return !unread.empty();
    }

    std::unique_ptr<File> file;
    std::string format;
    std::string failure;
    std::vector<char> compressed;
};

class GzipSource : public DecompressedSource
{
  public:
    explicit GzipSource(std::unique_ptr<File> file) : DecompressedSource(std::move(file), "gzip")
    {
        constexpr int gzip_only = 16;
        if (inflateInit2(&stream, MAX_WBITS + gzip_only) != Z_OK)
        {
            throw std::bad_alloc();
        }
    }
    ~GzipSource() override
    {
        inflateEnd(&stream);
    }
    GzipSource(const GzipSource&) = delete;
    GzipSource& operator=(const GzipSource&) = delete;

  protected:
    std::size_t decompress(std::span<char> buffer) override
    {
        if (!inside)
        {
            inflateReset(&stream);
            inside = true;
        }
        const auto offered = static_cast<uInt>(std::min<std::size_t>(buffer.size(), UINT32_MAX));
        stream.next_in = reinterpret_cast<Bytef*>(unread.data());
        stream.avail_in = static_cast<uInt>(unread.size());
        stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream.avail_out = offered;
        const int result = inflate(&stream, Z_NO_FLUSH);
        unread = unread.last(stream.avail_in);
        pending = stream.avail_out == 0;
        if (result == Z_STREAM_END)
        {
            inside = false;
            pending = false;
        }
        else if (result != Z_OK && result != Z_BUF_ERROR)
        {
            fail_with(stream.msg != nullptr ? stream.msg : zError(result));
        }
        return offered - stream.avail_out;
    }

    bool has_more() const override
    {
        return pending || DecompressedSource::has_more();
    }

  private:
    z_stream stream{};
    bool pending = false; ///< The buffer was full: there may be more of what was read.
};

class ZstdSource : public DecompressedSource
{
  public:
    explicit ZstdSource(std::unique_ptr<File> file)
        : DecompressedSource(std::move(file), "zstd"), stream(ZSTD_createDStream())
    {
        if (stream == nullptr)
        {
            throw std::bad_alloc();
        }
        wanted = ZSTD_initDStream(stream);
    }
    ~ZstdSource() override
    {
        ZSTD_freeDStream(stream);
    }
    ZstdSource(const ZstdSource&) = delete;
    ZstdSource& operator=(const ZstdSource&) = delete;

  protected:
    std::size_t decompress(std::span<char> buffer) override
    {
        // An error takes with it what the same call decompressed: one block a call, and none while
        // there is more of the one before.
        ZSTD_inBuffer in{unread.data(), pending ? 0 : std::min(unread.size(), wanted), 0};
        ZSTD_outBuffer out{buffer.data(), buffer.size(), 0};
        const auto result = ZSTD_decompressStream(stream, &out, &in);
        unread = unread.subspan(in.pos);
        if (ZSTD_isError(result) != 0)
        {
            fail_with(ZSTD_getErrorName(result));
            return 0;
        }
        inside = result != 0;
        pending = inside && out.pos == out.size;
        wanted = inside ? result : frame_start;
        return out.pos;
    }

    bool has_more() const override
    {
        return pending || DecompressedSource::has_more();
    }

  private:
    static constexpr std::size_t frame_start = 5; ///< What tells the size of a frame's header.

    ZSTD_DStream* stream;
    std::size_t wanted;   ///< Compressed bytes to the end of the next block.
    bool pending = false; ///< The buffer was full: there may be more of what was read.
};

bool starts_as_gzip(std::string_view start)
{
    return start.starts_with("\x1f\x8b");
}

/// A frame, or one to be skipped, with which parallel compressors begin.
bool starts_as_zstd(std::string_view start)
{
    return start == "\x28\xb5\x2f\xfd" ||
           (start.ends_with("\x2a\x4d\x18") && start.size() == 4 && (start[0] & 0xF0) == 0x50);
}

} // namespace

std::unique_ptr<ByteSource> open_source(const std::string& path)
{
    auto file = std::make_unique<File>(path);
    if (starts_as_gzip(file->start()))
    {
        return std::make_unique<GzipSource>(std::move(file));
    }
    if (starts_as_zstd(file->start()))
    {
        return std::make_unique<ZstdSource>(std::move(file));
    }
    return std::make_unique<PlainSource>(std::move(file));
}

} // namespace report
