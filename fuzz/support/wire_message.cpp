#include "fuzz/support/wire_message.hpp"

#include "fuzz/support/require.hpp"

#include <memory>
#include <unistd.h>

namespace
{

class Header
{
  public:
    Header(bool big, const std::string& signature, std::size_t body_size) : is_big_endian(big)
    {
        constexpr char signal = 4;
        constexpr char no_reply_expected = 1;
        constexpr char protocol = 1;
        bytes = {is_big_endian ? 'B' : 'l', signal, no_reply_expected, protocol};
        put_number(static_cast<std::uint32_t>(body_size));
        put_number(1); // serial
        put_number(0); // the fields' size, once they are known
        put_field(1, 'o', "/a");
        put_field(2, 's', "a.b");
        put_field(3, 's', "c");
        put_field(8, 'g', signature);
        Header size{big};
        size.put_number(static_cast<std::uint32_t>(bytes.size() - fields_start));
        bytes.replace(fields_start - 4, 4, size.bytes);
        align(8);
    }

    std::string bytes;

  private:
    static constexpr std::size_t fields_start = 16;

    explicit Header(bool big) : is_big_endian(big) {}

    void align(std::size_t boundary)
    {
        bytes.resize((bytes.size() + boundary - 1) / boundary * boundary);
    }

    void put_number(std::uint32_t number)
    {
        for (unsigned place = 0; place < 4; ++place)
        {
            const auto shift = 8 * (is_big_endian ? 3 - place : place);
            bytes += static_cast<char>(number >> shift & 0xff);
        }
    }

    void put_field(char code, char type, const std::string& text)
    {
        align(8);
        bytes += {code, 1, type, '\0'};
        if (type == 'g')
        {
            bytes += static_cast<char>(text.size());
        }
        else
        {
            put_number(static_cast<std::uint32_t>(text.size()));
        }
        bytes += text + '\0';
    }

    bool is_big_endian;
};

/// Anew after a message that was refused, which ends a connection.
std::unique_ptr<BusPair> connections;

} // namespace

RawMessage receive_from_wire(bool is_big_endian, const std::string& signature,
                             std::span<const std::uint8_t> body)
{
    if (connections == nullptr)
    {
        connections = std::make_unique<BusPair>();
    }
    auto bytes = Header{is_big_endian, signature, body.size()}.bytes;
    bytes.append(body.begin(), body.end());
    const auto written = write(sd_bus_get_fd(connections->peer), bytes.data(), bytes.size());
    require(written == static_cast<ssize_t>(bytes.size()), "a message fits the socket's buffer");

    sd_bus_message* received = nullptr;
    int result = 1;
    while (result > 0 && received == nullptr)
    {
        result = sd_bus_process(connections->local, &received);
    }
    if (received == nullptr || sd_bus_message_is_signal(received, "a.b", "c") == 0)
    {
        connections.reset();
    }
    return RawMessage{connections == nullptr ? nullptr : received};
}
