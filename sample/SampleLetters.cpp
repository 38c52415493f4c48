#include "EmbeddedFiles.h"
#include "sample/SampleMessages.h"

namespace ostrel::sample {

namespace {

void addGardenConversation(SampleStore& store) {
    store.add(garden,
              letter(jonas, mara, "Apple trees for the slope", at(2024, 2, 25, 17, 12), "garden-1").text(R"(Hi Mara,

the nursery in Altdorf has old varieties again: Gravenstein, Boskoop, Red Calville. They keep
two of each until the end of the week if I call them.

Three trees fit on the slope, I think, five metres apart. Shall I take one of each?

Jonas
)"),
              at(2024, 2, 25, 17, 13));
    store.add(sent,
              letter(mara, jonas, "Re: Apple trees for the slope", at(2024, 2, 25, 18, 40), "garden-2")
                  .rawHeader("In-Reply-To", messageID("garden-1"))
                  .rawHeader("References", messageID("garden-1"))
                  .text(R"(Yes please, one of each! I’ll mark the places on Saturday and bring the stakes.

Mara

On 25 Feb 2024, at 18:12, Jonas Weber <jonas.weber@apfelgarten.example> wrote:

> the nursery in Altdorf has old varieties again: Gravenstein, Boskoop, Red Calville.
> Three trees fit on the slope, I think, five metres apart. Shall I take one of each?
)"),
              at(2024, 2, 25, 18, 40));
    store.add(garden,
              letter(jonas, mara, "Re: Apple trees for the slope", at(2024, 3, 2, 9, 5), "garden-3")
                  .header("Cc", "Ada Okafor <ada@apfelgarten.example>")
                  .rawHeader("In-Reply-To", messageID("garden-2"))
                  .rawHeader("References", messageID("garden-1") + "\r\n " + messageID("garden-2"))
                  .text("They’re here, and they’re taller than the car. A picture is attached.\n\nJonas\n")
                  .attachment("Slope in spring.jpg", "image/jpeg", embedded::garden_jpg),
              at(2024, 3, 2, 9, 6));
    store.add(sent,
              letter(mara, "Jonas Weber <jonas.weber@apfelgarten.example>, Ada Okafor <ada@apfelgarten.example>",
                     "Re: Apple trees for the slope", at(2024, 3, 2, 9, 31), "garden-4")
                  .rawHeader("In-Reply-To", messageID("garden-3"))
                  .rawHeader("References",
                             messageID("garden-1") + "\r\n " + messageID("garden-2") + "\r\n " + messageID("garden-3"))
                  .text("What a sight! I’ll bring cake at three. 🌳🍎\n\nMara\n"),
              at(2024, 3, 2, 9, 31));
}

void addLatinScripts(SampleStore& store) {
    store.add(inbox,
              letter("Großmutter Änne <aenne@lindqvist.example>", mara, "Rezept: Apfelkuchen vom Blech",
                     at(2023, 10, 8, 14, 20), "kuchen")
                  .text(R"(Liebe Mara,

hier ist das Rezept, nach dem du gefragt hast:

  500 g Mehl, 250 g Butter, 2 Eier, 1 Prise Salz
  1,5 kg säuerliche Äpfel, am besten Boskoop
  Streusel: 200 g Mehl, 150 g Zucker, 125 g Butter, Zimt

Den Teig über Nacht kühl stellen, Äpfel schälen und in Spalten darauf setzen, Streusel
darüber, dann 45 Minuten bei 180 °C backen. Für größere Feste nimmst du das Doppelte.

Es grüßt dich herzlich
deine Oma
)",
                        "iso-8859-1"),
              at(2023, 10, 8, 14, 21));
    store.add(
        inbox,
        letter("Église Saint-Rémi <accueil@saint-remi.example>", mara, "Concert de Noël : répétition générale",
               at(2023, 12, 12, 18, 0), "noel")
            .text("Chère Mara,\n\nla répétition générale aura lieu jeudi à 19 h 30 dans l’église. Pensez à apporter "
                  "vos partitions — et une écharpe : le cœur de l’église reste glacé jusqu’à la fête.\n\nÀ jeudi,\n"
                  "Françoise Lefèvre\n",
                  "windows-1252"),
        at(2023, 12, 12, 18, 2));
    store.add(archive,
              letter("Zoltán Szűcs <zoltan@duna.example>", mara, "Fényképek a kirándulásról", at(2019, 7, 22, 8, 45),
                     "magyar")
                  .text("Kedves Mara!\n\nItt vannak a fényképek a hétvégi kirándulásról. Gyönyörű időnk volt, és a "
                        "gyerekek még ma is a barlangról mesélnek.\n\nÜdvözlettel:\nZoltán\n",
                        "iso-8859-2"),
              at(2019, 7, 22, 8, 46));
    store.add(archive,
              letter("Nguyễn Thị Hoa <hoa@sen.example>", mara, "Hẹn gặp lại ở Huế", at(2018, 11, 3, 3, 15), "viet")
                  .text("Chị Mara thân mến,\n\nCảm ơn chị đã gửi những tấm ảnh thật đẹp. Mùa này ở Huế trời mưa nhiều, "
                        "nhưng hoa sen năm nay nở muộn. Hẹn gặp lại chị vào mùa xuân!\n\nHoa\n"),
              at(2018, 11, 3, 3, 16));
}

void addOtherScripts(SampleStore& store) {
    store.add(inbox,
              letter("Екатерина Соколова <katya@sokol.example>", mara, "Встреча в субботу", at(2022, 5, 18, 12, 10),
                     "russkij")
                  .text("Мара, привет!\n\nВстречаемся в субботу в одиннадцать у главного входа в ботанический сад. "
                        "Сирень уже цветёт, возьми фотоаппарат. Если пойдёт дождь, сидим в кафе напротив.\n\nКатя\n",
                        "koi8-r"),
              at(2022, 5, 18, 12, 11));
    store.add(inbox,
              letter("Νίκος Παπαδάκης <nikos@elia.example>", mara, "Λάδι από τη νέα σοδειά", at(2021, 11, 29, 10, 0),
                     "ellinika")
                  .text("Καλημέρα Μάρα,\n\nη νέα σοδειά είναι εξαιρετική. Σου στέλνω πέντε λίτρα την Τρίτη.\n\nΝίκος\n",
                        "iso-8859-7"),
              at(2021, 11, 29, 10, 1));
    store.add(
        inbox,
        letter("田中 由美 <yumi@tanaka.example>", mara, "京都旅行の予定について", at(2023, 3, 14, 2, 30), "nihongo")
            .text("マラさん\n\nこんにちは。来月の京都旅行の予定をお送りします。\n\n四月三日　午後二時　京都駅着\n四月四"
                  "日　"
                  "嵐山と竹林の散策\n四月五日　陶芸教室（清水焼）\n\n桜がちょうど満開になるそうです。楽しみにしています"
                  "。\n\n"
                  "田中由美\n",
                  "iso-2022-jp"),
        at(2023, 3, 14, 2, 31));
    store.add(
        inbox,
        letter("陈晓明 <xiaoming@chen.example>", mara, "春节快乐", at(2024, 2, 9, 15, 59), "zhongwen")
            .text("玛拉：\n\n祝你和家人春节快乐，万事如意！我们一家今年在杭州过年，西湖边的梅花开得正好。\n\n晓明\n",
                  "gb2312"),
        at(2024, 2, 9, 16, 0));
    store.add(
        inbox,
        letter("김서연 <seoyeon@hanok.example>", mara, "도자기 전시회에 초대합니다", at(2022, 9, 27, 6, 20), "hangugeo")
            .text("마라 님께,\n\n다음 달 서울에서 열리는 도자기 전시회에 초대합니다. 개막식은 10월 14일 금요일 오후 "
                  "여섯 시입니다. 꼭 와 주세요.\n\n김서연 드림\n",
                  "euc-kr"),
        at(2022, 9, 27, 6, 21));
    store.add(
        inbox,
        letter("ليلى حداد <layla@zaytoun.example>", mara, "دعوة إلى معرض الخط العربي", at(2023, 6, 5, 9, 0), "arabi")
            .html(R"(<html><body dir="rtl" style="font-size:14pt; line-height:1.7">
<p>عزيزتي مارا،</p>
<p>يسعدنا أن ندعوك إلى افتتاح <b>معرض الخط العربي</b> يوم الخميس ٢٢ يونيو ٢٠٢٣ في الساعة السابعة مساءً.</p>
<p>العنوان: شارع الزيتون، رقم ١٤ (الطابق الثاني) — هاتف: 0555-0147.</p>
<p>مع أطيب التحيات،<br>ليلى حداد</p></body></html>)"),
        at(2023, 6, 5, 9, 1));
    store.add(inbox,
              letter("נועה לוי <noa@rimon.example>", mara, "תמונות מהטיול לצפון", at(2022, 4, 20, 11, 40), "ivrit")
                  .html(R"(<div dir="rtl" style="font-size:13pt"><p>שלום מארה,</p>
<p>מצורפות התמונות מהטיול לצפון. האתר: <a href="https://rimon.example/tiyul">rimon.example/tiyul</a></p>
<p>נועה</p></div>)",
                        "windows-1255"),
              at(2022, 4, 20, 11, 41));
    store.add(inbox,
              letter("आरती शर्मा <aarti@sharma.example>", mara, "दीपावली की शुभकामनाएँ", at(2023, 11, 12, 4, 0), "hindi")
                  .text("प्रिय मारा,\n\nआपको और आपके परिवार को दीपावली की हार्दिक शुभकामनाएँ! "
                        "🪔✨\n\nआरती\n"),
              at(2023, 11, 12, 4, 1));
    store.add(inbox,
              letter("สมชาย ใจดี <somchai@dokbua.example>", mara, "สวัสดีจากเชียงใหม่", at(2021, 2, 14, 7, 30), "thai")
                  .text("สวัสดีครับคุณมารา\n\nอากาศที่เชียงใหม่กำลังดีมาก หวังว่าจะได้พบกันอีกเร็ว ๆ นี้ครับ\n\nสมชาย\n", "tis-620"),
              at(2021, 2, 14, 7, 31));
}

void addEveryday(SampleStore& store) {
    store.add(
        inbox,
        letter("Ada Okafor <ada@apfelgarten.example>", mara, "🎉 Party on the 16th! 🎂🥳", at(2024, 3, 4, 19, 22),
               "party")
            .text("Hi Mara! 👋\n\nWe’re celebrating 40 years 🎂 on the 16th, from six o’clock 🕕.\nBring your dancing "
                  "shoes 💃🕺, Jonas brings the accordion 🪗.\n\n"
                  "Families welcome 👨‍👩‍👧‍👦 and flags up 🇸🇪🇩🇪🇳🇬!\n\nAda ❤️\n"),
        at(2024, 3, 4, 19, 23));
    store.add(
        inbox,
        letter("Office of Difficult Affairs <office@affine.example>", mara, "Office affairs: files, flow and fluff",
               at(2024, 1, 15, 8, 0), "ligatures")
            .text("The office staff first filed the fluffy flower affidavit, then offered difficult shuffles.\n\nEvery "
                  "“ffi”, “ffl”, “fi” and “fl” above is found by typing it.\n"),
        at(2024, 1, 15, 8, 0));
    store.add(
        work,
        letter(priya, maraAtWork, "Kick-off on Monday", at(2024, 3, 1, 15, 2), "kickoff")
            .text("Hello Mara,\n\nthe kick-off is set for Monday, 10:00, in the blue room. The invitation is "
                  "attached.\nAgenda: https://nordlicht.example/wiki/kickoff?room=blue&lang=en (please add "
                  "yours).\n\nPriya\n")
            .part("Content-Type: text/calendar; charset=utf-8; method=REQUEST\r\n",
                  "BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Nordlicht//Calendar//EN\r\nMETHOD:REQUEST\r\n"
                  "BEGIN:VEVENT\r\nUID:kickoff-2024@nordlicht.example\r\nDTSTAMP:20240301T150200Z\r\n"
                  "DTSTART:20240304T090000Z\r\nDTEND:20240304T100000Z\r\nSUMMARY:Kick-off\r\nLOCATION:Blue room\r\n"
                  "END:VEVENT\r\nEND:VCALENDAR\r\n"),
        at(2024, 3, 1, 15, 3));
    store.add(workSent,
              letter(maraAtWork, priya, "Re: Kick-off on Monday", at(2024, 3, 1, 15, 30), "kickoff-reply")
                  .rawHeader("In-Reply-To", messageID("kickoff"))
                  .rawHeader("References", messageID("kickoff"))
                  .text("I’ll be there, with the figures of the last quarter.\n\nMara\n"),
              at(2024, 3, 1, 15, 30));
    store.add(kitchen,
              letter("Küchenstudio Berger <planung@berger.example>", mara, "Ihre Küche: Plan und Angebot",
                     at(2024, 1, 22, 13, 45), "kitchen-plan")
                  .html(R"(<p>Guten Tag Frau Lindqvist,</p>
<p>wie besprochen, hier der überarbeitete Grundriss:</p>
<p><img src="cid:plan@berger.example" width="420" height="300" alt="Grundriss"></p>
<p>Das Angebot über <b>12.480,00&nbsp;€</b> finden Sie im Anhang. Es gilt bis zum 29.&nbsp;Februar.</p>
<p>Mit freundlichen Grüßen<br>Sabine Berger</p>)",
                        "iso-8859-15")
                  .inlineImage("plan@berger.example", "image/png", embedded::plan_png, "Grundriss.png")
                  .attachment("Angebot Küche März 2024.pdf", "application/pdf", tinyPDF("Angebot 2024-117")),
              at(2024, 1, 22, 13, 46));
}

}   // namespace

void addLetters(SampleStore& store) {
    addGardenConversation(store);
    addLatinScripts(store);
    addOtherScripts(store);
    addEveryday(store);
}

}   // namespace ostrel::sample
