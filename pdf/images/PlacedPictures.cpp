#include "pdf/images/PlacedPictures.h"

#include "pdf/content/ContentReader.h"
#include "pdf/content/Contents.h"
#include "pdf/content/Rewriter.h"
#include "pdf/content/StateStack.h"
#include "pdf/content/Streams.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <qpdf/QPDF.hh>
#include <qpdf/QPDFMatrix.hh>

namespace ostrel::pdf {
namespace {

using IndexOfColour = std::unordered_map<std::uint32_t, std::size_t>;

// Bytes of a content.
struct Range {
    std::size_t begin = 0, end = 0;
};

// A rectangle in a content, to be replaced by the drawing of a picture, and the clip that says the same as the
// picture's own edges: viewers would soften the edges twice.
struct Use {
    std::size_t picture;
    Range rectangle;
    std::optional<Range> clip;
};

struct Found {
    std::vector<Use> uses;
    std::vector<Range> colours;   // where a picture's colour is set
    std::set<std::size_t> odd;    // pictures whose colour was used for anything else
};

struct Point {
    double x = 0, y = 0;
};

bool isNear(double a, double b) { return std::abs(a - b) < 0.01; }
bool isNear(const Point& a, const Point& b) { return isNear(a.x, b.x) && isNear(a.y, b.y); }

using Corners = std::array<Point, 4>;   // in their order around

bool areSame(const Corners& a, const Corners& b) {
    for (std::size_t first = 0; first < 4; ++first) {
        bool isForwards = true, isBackwards = true;
        for (std::size_t i = 0; i < 4; ++i) {
            isForwards = isForwards && isNear(a[i], b[(first + i) % 4]);
            isBackwards = isBackwards && isNear(a[i], b[(first + 4 - i) % 4]);
        }
        if (isForwards || isBackwards) return true;
    }
    return false;
}

// What was drawn since a path was last painted.
class Path {
public:
    std::size_t begin = 0;
    bool clips = false;

    void add(const Operation& operation) {
        if (!hasBegun_) begin = operation.begin;
        hasBegun_ = true;
        switch (operation.op) {
            case "re"_op:
                rectangle_ = operation.numbers<4>();
                ++parts_;
                if (!rectangle_) isOdd_ = true;
                break;
            case "m"_op:
                ++parts_;
                [[fallthrough]];
            case "l"_op:
                if (const auto point = operation.numbers<2>(); point && points_.size() < maxPoints)
                    points_.push_back({(*point)[0], (*point)[1]});
                else
                    isOdd_ = true;
                break;
            case "h"_op:
                break;
            default:
                isOdd_ = true;
        }
    }

    // x, y, width, height; nullopt unless it is a rectangle and nothing else.
    std::optional<std::array<double, 4>> rectangle() const {
        return isOdd_ || clips || parts_ != 1 || !points_.empty() ? std::nullopt : rectangle_;
    }

    // nullopt unless it has four and no curves.
    std::optional<Corners> corners() const {
        if (isOdd_ || parts_ != 1) return std::nullopt;
        if (rectangle_) {
            if (!points_.empty()) return std::nullopt;
            const auto& [x, y, width, height] = *rectangle_;
            return Corners{{{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}}};
        }
        const bool isClosed = points_.size() == maxPoints && isNear(points_.front(), points_.back());
        if (!isClosed && points_.size() != 4) return std::nullopt;
        return Corners{points_[0], points_[1], points_[2], points_[3]};
    }

private:
    static constexpr std::size_t maxPoints = 5;   // the last closes it
    bool hasBegun_ = false, isOdd_ = false;
    std::size_t parts_ = 0;
    std::optional<std::array<double, 4>> rectangle_;
    std::vector<Point> points_;
};

std::optional<std::uint32_t> colourOf(const std::array<double, 3>& parts) {
    std::uint32_t colour = 0;
    for (const auto part : parts) {
        if (!(part >= 0 && part <= 1)) return std::nullopt;
        colour = colour << 8 | static_cast<std::uint32_t>(std::lround(part * 255));
    }
    return colour;
}

// Follows one content's fills. The engine writes a colour once and draws with it until the next.
class FillReader {
public:
    FillReader(const IndexOfColour& colours, std::span<const PlacedPicture> pictures)
        : colours_(colours), pictures_(pictures) {}

    // nullopt where the content cannot be followed.
    std::optional<Found> read(std::string_view content) {
        ContentReader reader(content);
        while (const auto operation = reader.next()) follow(*operation);
        if (reader.isBroken()) return std::nullopt;
        return std::move(found_);
    }

private:
    // How far the content has come in what one picture is drawn within: q, a path, W, n, q, cm; then colours and state,
    // the picture, Q, Q.
    enum class Stage { none, saved, clipped, savedAgain, placed, drawn, restored };
    struct Frame {
        Stage stage = Stage::none;
        Range clip;
        Corners corners{};
        QPDFMatrix matrix;
    };

    void follow(const Operation& operation) {
        if (fill_.follow(operation)) {
            operation.op == "q"_op ? save() : restore();
            return;
        }
        switch (operation.op) {
            case "rg"_op: {
                const auto parts = operation.numbers<3>();
                const auto colour = parts ? colourOf(*parts) : std::nullopt;
                const auto known = colour ? colours_.find(*colour) : colours_.end();
                if (known != colours_.end()) found_.colours.push_back({operation.begin, operation.end});
                *fill_ = known == colours_.end() ? std::nullopt : std::optional(known->second);
                return;
            }
            case "RG"_op: {
                const auto parts = operation.numbers<3>();
                if (const auto colour = parts ? colourOf(*parts) : std::nullopt; colour && colours_.contains(*colour))
                    found_.colours.push_back({operation.begin, operation.end});
                return;
            }
            case "gs"_op:
                return;
            case "g"_op:
            case "k"_op:
            case "cs"_op:
            case "sc"_op:
            case "scn"_op:
                *fill_ = std::nullopt;
                return leave();
            case "cm"_op:
                return place(operation);
            case "re"_op:
            case "m"_op:
            case "l"_op:
            case "c"_op:
            case "v"_op:
            case "y"_op:
            case "h"_op:
                return path_.add(operation);
            case "W"_op:
            case "W*"_op:
                path_.clips = true;
                return;
            case "n"_op:
                clip(operation);
                break;
            case "f"_op:
            case "F"_op:
            case "f*"_op:
            case "B"_op:
            case "B*"_op:
            case "b"_op:
            case "b*"_op:
                *fill_ ? fill(**fill_, operation) : leave();
                break;
            default:
                leave();
                if (operation.op != "S"_op && operation.op != "s"_op) return;
        }
        path_ = {};
    }

    void leave() { frame_.stage = Stage::none; }

    void save() { frame_.stage = frame_.stage == Stage::clipped ? Stage::savedAgain : Stage::saved; }

    void clip(const Operation& operation) {
        const auto corners = path_.corners();
        if (frame_.stage != Stage::saved || !path_.clips || !corners) return leave();
        frame_ = {Stage::clipped, {path_.begin, operation.end}, *corners, {}};
    }

    void place(const Operation& operation) {
        const auto matrix = operation.numbers<6>();
        if (frame_.stage != Stage::savedAgain || !matrix) return leave();
        const auto& [a, b, c, d, e, f] = *matrix;
        frame_.matrix = {a, b, c, d, e, f};
        frame_.stage = Stage::placed;
    }

    void fill(std::size_t picture, const Operation& operation) {
        const auto size = pictures_[picture].original.naturalSize();
        const auto box = path_.rectangle();
        if (operation.op != "f"_op || !box || !isNear((*box)[0], 0) || !isNear((*box)[1], 0) ||
            !isNear((*box)[2], size.width) || !isNear((*box)[3], size.height)) {
            found_.odd.insert(picture);
            return leave();
        }
        found_.uses.push_back({picture, {path_.begin, operation.end}, std::nullopt});
        frame_.stage = frame_.stage == Stage::placed && isAround(size) ? Stage::drawn : Stage::none;
    }

    // The clip is the picture's own box.
    bool isAround(const pictures::Size& size) const {
        const double width = size.width, height = size.height;
        Corners box{{{0, 0}, {width, 0}, {width, height}, {0, height}}};
        for (auto& [x, y] : box) frame_.matrix.transform(x, y, x, y);
        return areSame(box, frame_.corners);
    }

    void restore() {
        if (frame_.stage == Stage::restored) found_.uses.back().clip = frame_.clip;
        frame_.stage = frame_.stage == Stage::drawn ? Stage::restored : Stage::none;
    }

    const IndexOfColour& colours_;
    std::span<const PlacedPicture> pictures_;
    Found found_;
    StateStack<std::optional<std::size_t>> fill_;   // the picture whose colour fills
    Path path_;
    Frame frame_;
};

// Adds the pictures whose colour a raster holds.
void findColours(std::string_view pixels, const IndexOfColour& colours, std::set<std::size_t>& found) {
    std::array<bool, 256> reds{};   // most pixels are passed over by their first byte
    for (const auto& [colour, index] : colours) reds[colour >> 16] = true;
    for (std::size_t at = 0; at + 3 <= pixels.size(); at += 3) {
        const auto byte = [&](std::size_t i) { return std::uint32_t{static_cast<unsigned char>(pixels[at + i])}; };
        if (!reds[byte(0)]) continue;
        if (const auto known = colours.find(byte(0) << 16 | byte(1) << 8 | byte(2)); known != colours.end())
            found.insert(known->second);
    }
}

void findInRasters(QPDF& file, const IndexOfColour& colours, std::set<std::size_t>& found) {
    for (auto object : file.getAllObjects()) {
        if (!object.isStream() || !object.getDict().getKey("/Subtype").isNameAndEquals("/Image")) continue;
        if (object.getDict().getKey("/ColorSpace").isNameAndEquals("/DeviceGray")) continue;
        if (const auto pixels = decoded(object)) findColours(*pixels, colours, found);
    }
}

// The same picture wherever it stands.
class Images {
public:
    Images(QPDF& file, std::span<const PlacedPicture> pictures, LateData& late)
        : file_(file), pictures_(pictures), late_(late) {}

    std::string drawing(std::size_t picture, QPDFObjectHandle resources) {
        std::string text = "q ";
        // Whole numbers, as sizes are.
        for (const auto number : pictures_[picture].original.placement())
            text += std::to_string(std::lround(number)) + ' ';
        return text + "cm " + nameIn(resources, picture) + " Do Q";
    }

private:
    std::string nameIn(QPDFObjectHandle resources, std::size_t picture) {
        const auto name = "/Original" + std::to_string(picture);
        if (!resources.getKey("/XObject").isDictionary())
            resources.replaceKey("/XObject", QPDFObjectHandle::newDictionary());
        resources.getKey("/XObject").replaceKey(name, image(picture));
        return name;
    }

    QPDFObjectHandle image(std::size_t picture) {
        auto& made = made_[picture];
        if (!made) made = pictures_[picture].original.imageIn(file_, late_);
        return *made;
    }

    QPDF& file_;
    std::span<const PlacedPicture> pictures_;
    LateData& late_;
    std::unordered_map<std::size_t, std::optional<QPDFObjectHandle>> made_;
};

// A content in which pictures are to be drawn.
struct Changed {
    Content* content;
    std::shared_ptr<const std::string> text;
    Found found;
};

void draw(QPDF& file, Contents& contents, const std::vector<Changed>& all, std::span<const PlacedPicture> pictures,
          LateData& late) {
    Images images(file, pictures, late);
    for (const auto& [content, text, found] : all) {
        Rewriter rewriter;
        // Nothing is drawn in them any more, and they are others each time: the same mail is to make the same file.
        for (const auto& [begin, end] : found.colours) rewriter.cut(begin, end);
        for (const auto& use : found.uses) {
            if (use.clip) rewriter.cut(use.clip->begin, use.clip->end);
            rewriter.replace(use.rectangle.begin, use.rectangle.end, images.drawing(use.picture, content->resources));
        }
        auto drawn = rewriter.rewritten(*text);
        if (!drawn) throw std::logic_error("pictures overlap in a content");
        contents.replace(*content, std::move(*drawn));
    }
}

}   // namespace

std::vector<std::uint32_t> placePictures(QPDF& file, Contents& contents, std::span<const PlacedPicture> pictures,
                                         LateData& late) {
    if (pictures.empty()) return {};
    IndexOfColour colours;
    for (std::size_t i = 0; i < pictures.size(); ++i) colours.emplace(pictures[i].colour, i);
    std::set<std::size_t> odd, drawn;
    std::vector<Changed> changed;
    bool isUnderstood = true;
    for (auto& content : contents.all()) {
        auto text = contents.textOf(content);
        auto found = text ? FillReader(colours, pictures).read(*text) : std::nullopt;
        isUnderstood = isUnderstood && found && (found->uses.empty() || content.resources.isDictionary());
        if (!isUnderstood) break;
        odd.merge(found->odd);
        for (const auto& use : found->uses) drawn.insert(use.picture);
        if (!found->uses.empty() || !found->colours.empty())
            changed.push_back({&content, std::move(text), std::move(*found)});
    }
    findInRasters(file, colours, odd);
    std::vector<std::uint32_t> notPlaced;
    for (std::size_t i = 0; i < pictures.size(); ++i)
        if (!isUnderstood || odd.contains(i) || (pictures[i].isSeen && !drawn.contains(i)))
            notPlaced.push_back(pictures[i].colour);
    std::ranges::sort(notPlaced);
    if (notPlaced.empty()) draw(file, contents, changed, pictures, late);
    return notPlaced;
}

}   // namespace ostrel::pdf
