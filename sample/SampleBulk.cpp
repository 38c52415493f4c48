#include "EmbeddedFiles.h"
#include "sample/SampleMessages.h"

#include <array>
#include <cstdint>
#include <vector>

namespace ostrel::sample {

namespace {

// The same numbers on every machine (splitmix64), unlike the library's distributions.
class Dice {
public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}
    std::size_t below(std::size_t bound) {
        std::uint64_t z = state_ += 0x9e3779b97f4a7c15;
        z = (z ^ z >> 30) * 0xbf58476d1ce4e5b9;
        z = (z ^ z >> 27) * 0x94d049bb133111eb;
        return static_cast<std::size_t>((z ^ z >> 31) % bound);
    }
    template <typename List>
    const auto& pick(const List& list) {
        return list[below(std::size(list))];
    }

private:
    std::uint64_t state_;
};

constexpr std::array<std::string_view, 48> words = {
    "harvest", "window",  "letter",   "meeting",  "garden",   "figures",  "morning", "project", "kitchen", "invoice",
    "weather", "station", "summer",   "question", "answer",   "delivery", "paper",   "picture", "journey", "bridge",
    "harbour", "recipe",  "lantern",  "version",  "report",   "ticket",   "village", "concert", "budget",  "handbook",
    "library", "number",  "contract", "apple",    "calendar", "account",  "with",    "for",     "about",   "before",
    "after",   "the",     "a",        "our",      "their",    "new",      "old",     "next"};
constexpr std::array<std::string_view, 12> people = {
    "Jonas Weber <jonas.weber@apfelgarten.example>", "Ada Okafor <ada@apfelgarten.example>",
    "Priya Raman <priya@nordlicht.example>",         "Zoltán Szűcs <zoltan@duna.example>",
    "Françoise Lefèvre <fl@riviere.example>",        "田中 由美 <yumi@tanaka.example>",
    "Екатерина Соколова <katya@sokol.example>",      "Sabine Berger <planung@berger.example>",
    "Box Office <tickets@oldtheatre.example>",       "Nordlicht Shop <orders@nordlicht.example>",
    "Harbour Office <office@harbour.example>",       "news@paperlantern.example"};
constexpr std::array<std::string_view, 8> foreign = {"Les chiffres de l’été sont arrivés, à bientôt à la fête. ",
                                                     "Größere Mengen Äpfel liegen übrigens noch im Keller. ",
                                                     "Встречаемся в субботу у входа в ботанический сад. ",
                                                     "来月の京都旅行の予定をお送りします。桜が満開です。",
                                                     "도자기 전시회에 꼭 와 주세요. ",
                                                     "مع أطيب التحيات وإلى اللقاء قريبًا. ",
                                                     "Η νέα σοδειά είναι εξαιρετική φέτος. ",
                                                     "祝你和家人新年快乐，万事如意！"};
constexpr std::array<std::string_view, 7> mailboxes = {inbox, sent, kitchen, garden, work, workSent, archive};

std::string sentence(Dice& dice, std::size_t length) {
    std::string out;
    for (std::size_t i = 0; i < length; ++i) {
        out += dice.pick(words);
        out += i + 1 < length ? " " : ". ";
    }
    out[0] = static_cast<char>(out[0] - 'a' + 'A');
    return out;
}

std::string paragraphs(Dice& dice, std::size_t count, std::string_view separator) {
    std::string out;
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 3 + dice.below(4); k > 0; --k) out += sentence(dice, 6 + dice.below(10));
        if (dice.below(12) == 0) out += dice.pick(foreign);
        out += separator;
    }
    return out;
}

std::string newsletterHTML(Dice& dice, std::size_t articles) {
    std::string out =
        "<html><head><style>h2{color:#6b3a2a} td{font:14px Georgia,serif} "
        ".b{background:url(https://news.example/b.png)}"
        "</style></head><body><table width=\"640\" align=\"center\">";
    for (std::size_t i = 0; i < articles; ++i) {
        const std::string link = "https://news.example/a/" + std::to_string(dice.below(100000));
        out += "<tr><td class=\"b\" style=\"padding:12px\"><a href=\"" + link + "\"><img src=\"" + link +
               ".jpg\" width=\"270\" height=\"180\" alt=\"picture\"></a><h2>" + sentence(dice, 5) + "</h2><p>" +
               paragraphs(dice, 1 + dice.below(3), "</p><p>") + "</p><p><a href=\"" + link +
               "\">Read on</a></p></td></tr>\n";
    }
    return out + "</table><img src=\"https://track.example/o.gif\" width=\"1\" height=\"1\"></body></html>";
}

// A message's body, in the shares that mailboxes have.
void fill(EmlBuilder& message, Dice& dice) {
    const std::size_t kind = dice.below(100);
    if (kind < 48) {
        message.text(paragraphs(dice, 1 + dice.below(6), "\n\n"));
    } else if (kind < 68) {
        message.text(paragraphs(dice, 2, "\n\n")).html(newsletterHTML(dice, 2 + dice.below(6)));
    } else if (kind < 82) {
        message.html("<p>" + paragraphs(dice, 1 + dice.below(5), "</p><p>") + "</p>");
    } else if (kind < 87) {
        message.html("<p>" + paragraphs(dice, 1, "</p><p>") + "</p><img src=\"cid:picture@bulk.example\">")
            .inlineImage("picture@bulk.example", "image/jpeg", embedded::garden_jpg, "picture.jpg");
    } else if (kind < 94) {
        message.text(paragraphs(dice, 2, "\n\n"))
            .attachment("Report.pdf", "application/pdf", tinyPDF(sentence(dice, 4)));
    } else if (kind < 97) {
        message.text(std::string(dice.pick(foreign)) + "\n\n" + std::string(dice.pick(foreign)) + "\n");
    } else {
        message.text(paragraphs(dice, 20 + dice.below(30), "\n\n"));
    }
}

}   // namespace

void addBulk(SampleStore& store, std::size_t count) {
    constexpr auto gap = std::chrono::minutes(97);
    Dice dice(20240305);
    std::vector<std::string> recent;   // keys that replies may refer to
    for (std::size_t i = 0; i < count; ++i) {
        const Instant when =
            at(2004, 1, 1, 8, 0) + gap * static_cast<int>(i % 100000) + std::chrono::seconds(i / 100000);
        const std::string key = "bulk-" + std::to_string(i);
        const std::string_view from = dice.pick(people);
        std::string subject = sentence(dice, 3 + dice.below(5));
        subject.resize(subject.size() - 2);   // no full stop in a subject
        const bool isReply = !recent.empty() && dice.below(3) == 0;
        const std::string parent = isReply ? dice.pick(recent) : "";
        // About one in forty is a copy of the same message in another mailbox.
        const bool isCopy = dice.below(40) == 0 && i > 0;
        EmlBuilder message = letter(from, mara, isReply ? "Re: " + subject : subject, when,
                                    isCopy ? "bulk-" + std::to_string(i - 1) : key);
        if (isReply) message.rawHeader("In-Reply-To", messageID(parent)).rawHeader("References", messageID(parent));
        message.rawHeader("Received", "from mx.example (mx.example [192.0.2." + std::to_string(dice.below(250)) +
                                          "])\r\n\tby mail.lindqvist.example with ESMTPS id " + key +
                                          ";\r\n\tTue, 5 Mar 2024 09:07:42 +0100");
        message.rawHeader("X-Mailer", "Bulk sample");
        fill(message, dice);
        const std::string_view mailbox = dice.pick(mailboxes);
        if (dice.below(50) == 0) {
            const std::string stored = tinyPDF("Stored apart");
            message.storedAttachment("Stored.pdf", "application/pdf", stored.size());
            store.addPartial(mailbox, message, when, {{"2", {"Stored.pdf", stored}}});
        } else {
            store.add(mailbox, message, when);
        }
        if (recent.size() < 200) {
            recent.push_back(key);
        } else {
            recent[dice.below(recent.size())] = key;
        }
    }
}

}   // namespace ostrel::sample
