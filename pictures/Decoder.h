#pragma once

#include "pictures/Kind.h"
#include "pictures/headers/Size.h"
#include "platform/Bytes.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <variant>
#include <vector>

namespace ostrel::pictures {

// A picture as something else that shows the same.
struct Decoded {
    Kind kind = Kind::unknown;   // png, jpeg or svg
    Size size;                   // upright, as it is to be shown; of a PDF, its first page's points
    std::string file;
    std::string mask;   // a grey PNG of the same size as stored, where alpha was asked for apart and there is some
};

enum class NotDecoded {
    damaged,       // or of a kind that is not decoded
    tooLarge,      // more pixels, or more bytes made of them, than a page can have use for
    tooLong,       // took more time than its bytes can need
    crashed,       // ended the program that decodes, which starts again for the next
    unavailable,   // that program is not there or does not start
};

// How long a picture may take: so long, and so much for each megabyte that it has.
struct DecoderPatience {
    std::chrono::milliseconds base{1750}, perMegabyte{1000}, most{8000};
};

// Decodes pictures in a process that can read its input, write its output and do nothing else: no file, no socket, no
// other program, a limit on memory and time. It starts with the first picture and is kept; a picture that ends it costs
// itself. Any thread; calls wait for each other.
class Decoder {
public:
    // The program; by default the one that belongs to us. environment: "NAME=value", all that it gets.
    explicit Decoder(std::filesystem::path program = installedProgram(), std::vector<std::string> environment = {},
                     DecoderPatience patience = {});
    Decoder(const Decoder&) = delete;
    Decoder& operator=(const Decoder&) = delete;
    ~Decoder();

    enum class Alpha { within, apart };
    // HEIC, TIFF and JPEG 2000 become PNG or, where they were packed with losses, JPEG; the first page of a PDF becomes
    // SVG. PNG, and the first picture of GIF and WebP, become PNG without interlacing; of GIF and WebP that were cut
    // short, as much as there is. JPEGs that were cut
    // short become whole, with what is missing clear where alpha is asked for apart.
    std::variant<Decoded, NotDecoded> decode(ByteView picture, Alpha alpha = Alpha::within);

    static std::filesystem::path installedProgram();

private:
    class Process;
    std::variant<Decoded, NotDecoded> ask(ByteView picture, Alpha alpha);

    const std::filesystem::path program_;
    const std::vector<std::string> environment_;
    const DecoderPatience patience_;
    std::mutex mutex_;                   // of what follows
    std::unique_ptr<Process> process_;   // none before the first picture and after one that ended it
};

}   // namespace ostrel::pictures
