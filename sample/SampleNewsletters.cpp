#include "EmbeddedFiles.h"
#include "sample/SampleMessages.h"

#include <array>

namespace ostrel::sample {

namespace {

// A shop's newsletter as such mails are made: a table in a table, remote pictures, a tracking pixel.
EmlBuilder lanternNewsletter() {
    return letter("The Paper Lantern <news@paperlantern.example>", mara, "Spring papers are here", at(2024, 3, 5, 6, 0),
                  "lantern-12")
        .rawHeader("List-Unsubscribe", "<https://paperlantern.example/unsubscribe?u=4711>")
        .text("Spring papers are here: https://paperlantern.example/spring\n")
        .html(R"(<!DOCTYPE html>
<html><head><meta charset="utf-8"><title>Spring papers</title>
<link rel="stylesheet" href="https://paperlantern.example/news.css">
<style>
  @import url("https://paperlantern.example/fonts.css");
  .hero { background: #f4e9da url(https://paperlantern.example/hero.jpg) no-repeat; }
  a.button { background: #b5523b; color: #ffffff; padding: 10px 22px; border-radius: 4px; text-decoration: none; }
</style></head>
<body style="margin:0; background:#faf6ef">
<table width="640" align="center" cellpadding="0" cellspacing="0" style="background:#ffffff; font-family:Georgia,serif">
<tr><td class="hero" style="padding:36px 30px; background-color:#f4e9da">
  <h1 style="margin:0; color:#6b3a2a">Spring papers are here</h1>
  <p style="color:#6b3a2a">Forty new washi patterns, printed by hand in small runs.</p></td></tr>
<tr><td style="padding:20px 30px">
  <table width="100%"><tr>
    <td width="50%" valign="top"><img src="https://paperlantern.example/img/plum.jpg" width="270" height="180" alt="Plum blossom">
      <h3>Plum blossom</h3><p>Soft pinks on a cream ground. From <b>€&nbsp;4.80</b> a sheet.</p></td>
    <td width="50%" valign="top"><img src="https://paperlantern.example/img/waves.jpg" width="270" height="180" alt="Blue waves">
      <h3>Blue waves</h3><p>Three blues, one gold line. From <b>€&nbsp;5.20</b> a sheet.</p></td></tr></table>
  <p style="text-align:center; margin:28px"><a class="button" href="https://paperlantern.example/spring">See all forty</a></p>
</td></tr>
<tr><td style="padding:16px 30px; font-size:12px; color:#888888">You get this mail because you like paper.
  <a href="https://paperlantern.example/unsubscribe?u=4711">Unsubscribe</a></td></tr>
</table>
<img src="https://track.paperlantern.example/open?u=4711" width="1" height="1" alt="">
</body></html>)");
}

EmlBuilder nordlichtReceipt() {
    return letter("Nordlicht Shop <orders@nordlicht.example>", mara, "Your order 20240229-081: receipt",
                  at(2024, 2, 29, 10, 14), "receipt-081")
        .html(R"(<html><body style="font-family:Helvetica,Arial,sans-serif; color:#264653">
<p><img src="cid:logo@nordlicht.example" width="200" height="56" alt="Nordlicht"></p>
<h2>Thank you for your order, Mara.</h2>
<table width="100%" cellpadding="6" style="border-collapse:collapse; font-size:14px">
<tr style="background:#eef3f5; text-align:left"><th>Item</th><th align="right">Quantity</th><th align="right">Price</th></tr>
<tr><td style="border-bottom:1px solid #dddddd">Reading lamp “Polaris”, brass</td><td align="right">1</td><td align="right">€ 129.00</td></tr>
<tr><td style="border-bottom:1px solid #dddddd">Linen shade, 30 cm, natural</td><td align="right">2</td><td align="right">€ 58.00</td></tr>
<tr><td style="border-bottom:1px solid #dddddd">Delivery to Altdorf</td><td align="right">1</td><td align="right">€ 4.90</td></tr>
<tr><td colspan="2" align="right"><b>Total</b></td><td align="right"><b>€ 191.90</b></td></tr></table>
<p style="font-size:12px; color:#77858c">Questions? <a href="mailto:orders@nordlicht.example">orders@nordlicht.example</a></p>
</body></html>)")
        .inlineImage("logo@nordlicht.example", "image/png", embedded::logo_png, "logo.png")
        .attachment("Receipt 20240229-081.pdf", "application/pdf", tinyPDF("Receipt 20240229-081"));
}

// Far wider than any paper: the words at its right edge must still be on the page.
EmlBuilder wideReport() {
    std::string rows;
    for (int row = 1; row <= 12; ++row) {
        rows += "<tr><td>Station " + std::to_string(row) + "</td>";
        for (int month = 1; month <= 12; ++month) {
            rows += "<td align=\"right\">" + std::to_string((row * 37 + month * 101) % 900 + 100) + " kWh</td>";
        }
        rows += "<td>checked&nbsp;right&nbsp;edge&nbsp;" + std::to_string(row) + "</td></tr>\n";
    }
    return letter(priya, maraAtWork, "Yearly figures, all stations (wide table)", at(2024, 1, 10, 9, 0), "wide-report")
        .html(
            "<p>All twelve months in one table, as you asked:</p>\n"
            "<table border=\"1\" cellspacing=\"0\" cellpadding=\"4\" width=\"2400\" "
            "style=\"font-size:13px\">\n<tr><th>Station</th>"
            "<th>Jan</th><th>Feb</th><th>Mar</th><th>Apr</th><th>May</th><th>Jun</th><th>Jul</th><th>Aug</th><th>Sep</"
            "th>"
            "<th>Oct</th><th>Nov</th><th>Dec</th><th>Remark</th></tr>\n" +
            rows + "</table>");
}

// Several pages of plain text.
EmlBuilder minutes() {
    static constexpr std::array topics = {
        "the roof of the tool shed", "the water butts", "new members", "the seed swap in March",
        "the hedge along the lane",  "the compost",     "the budget",  "the summer party"};
    std::string text =
        "Minutes of the yearly meeting of the allotment society, 20 January 2024\n\nPresent: 31 members. "
        "Chair: Ada Okafor. Minutes: Jonas Weber.\n";
    for (int item = 1; item <= 32; ++item) {
        const std::string topic = topics[static_cast<std::size_t>(item) % topics.size()];
        text +=
            "\n" + std::to_string(item) + ". On " + topic + "\n\n" + "The chair reports on " + topic +
            " and thanks everyone who has lent a hand since the last meeting. Several "
            "members ask what it will cost and who will see to it; the treasurer answers that there is enough in the "
            "box, and that three offers will be asked for before the end of the month. Put to the vote: " +
            std::to_string(20 + item % 11) + " for, " + std::to_string(item % 4) + " against.\n";
    }
    return letter("Jonas Weber <jonas.weber@apfelgarten.example>", "Members <members@apfelgarten.example>",
                  "Minutes of the yearly meeting", at(2024, 1, 24, 20, 15), "minutes")
        .rawHeader("List-Id", "Allotment members <members.apfelgarten.example>")
        .text(text + "\nThe chair closes the meeting at a quarter past ten.\n");
}

// Pictures that travel inside the HTML itself, and one of a kind the page does not take.
EmlBuilder postcard() {
    return letter("Ada Okafor <ada@apfelgarten.example>", mara, "A postcard from the slope", at(2024, 3, 3, 16, 50),
                  "postcard")
        .html(R"(<div style="font-family:Georgia,serif">
<p><img src="cid:slope@apfelgarten.example" width="720" height="480" alt="The slope"></p>
<p style="font-size:20px; color:#4f7f45">Wish you were here!</p>
<p><img alt="a red dot" width="24" height="24" src="data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAUAAAAFCAYAAACNbyblAAAAHElEQVQI12P4//8/w38GIAXDIBKE0DHxgljNBAAO9TXL0Y4OHwAAAABJRU5ErkJggg==">
Ada &amp; Jonas</p>
<script>document.title = "changed by a script";</script></div>)")
        .inlineImage("slope@apfelgarten.example", "image/jpeg", embedded::garden_jpg, "slope.jpg");
}

}   // namespace

void addNewsletters(SampleStore& store) {
    store.add(inbox, lanternNewsletter(), at(2024, 3, 5, 6, 1));
    store.add(inbox, nordlichtReceipt(), at(2024, 2, 29, 10, 15));
    store.add(work, wideReport(), at(2024, 1, 10, 9, 1));
    store.add(garden, minutes(), at(2024, 1, 24, 20, 16));
    store.add(inbox, postcard(), at(2024, 3, 3, 16, 51));
}

}   // namespace ostrel::sample
