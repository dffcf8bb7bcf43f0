#pragma once

// Documents that the benchmarks parse and print, the same in every run: messages of a social service (nested
// objects, texts with escapes and multi-byte characters), a catalogue of seats (repeated names, small
// integers, wide indents), an outline of a country (pairs of doubles), and a small record.

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace JsonCorpus {

class Generator {
public:
    explicit Generator(unsigned indent)
        : indent_(indent) {}

    uint32_t Random(uint32_t bound) {
        state_ = state_ * 6364136223846793005U + 1442695040888963407U;
        return static_cast<uint32_t>((state_ >> 33) % bound);
    }

    Generator& Open(char const* name, char bracket) {
        Place_(name);
        text_ += bracket;
        closing_ += bracket == '{' ? '}' : ']';
        first_ = true;
        return *this;
    }
    Generator& Close() {
        char const bracket = closing_.back();
        closing_.pop_back();
        if (!first_) Line_();
        text_ += bracket;
        first_ = false;
        return *this;
    }
    Generator& Raw(char const* name, std::string const& value) {
        Place_(name);
        text_ += value;
        return *this;
    }
    Generator& Text(char const* name, std::string const& value) { return Raw(name, '"' + value + '"'); }
    Generator& Number(char const* name, long value) { return Raw(name, std::to_string(value)); }
    Generator& Bool(char const* name, bool value) { return Raw(name, value ? "true" : "false"); }
    Generator& Null(char const* name) { return Raw(name, "null"); }

    std::string Words(unsigned count) {
        static char const* const WORDS[] = {
            "名前:前田あゆみ",
            "第一印象:なんか怖っ！",
            "今の印象:",
            "とりあえずキモい。",
            "噛み合わない",
            "好きなところ:",
            "RT @network_core:",
            "router",
            "state",
            "\\n\\n",
            "ファームウェア",
            "the link is up",
            "http://t.co/QMLJeFmfMT",
            "\\\"quoted\\\"",
            "ありがとう",
            "ブス",
            "ですが",
        };
        std::string text;
        for (unsigned i = 0; i < count; ++i)
            text += (i != 0 ? " " : "") + std::string(WORDS[Random(17)]);
        return text;
    }
    std::string Digits(unsigned count) {
        std::string text(1, static_cast<char>('1' + Random(9)));
        while (text.size() < count)
            text += static_cast<char>('0' + Random(10));
        return text;
    }

    std::string Take() { return std::move(text_); }

private:
    void Line_() {
        if (indent_ == 0) return;
        text_ += '\n';
        text_.append(closing_.size() * indent_, ' ');
    }
    void Place_(char const* name) {
        if (!closing_.empty()) {
            if (!first_) text_ += ',';
            Line_();
        }
        first_ = false;
        if (name != nullptr) text_ += '"' + std::string(name) + (indent_ != 0 ? "\": " : "\":");
    }

    unsigned indent_;
    uint64_t state_ = 42;
    std::string text_;
    std::string closing_;
    bool first_ = true;
};

inline void User(Generator& g) {
    static char const* const FLAGS[] = {"protected",
                                        "geo_enabled",
                                        "verified",
                                        "contributors_enabled",
                                        "is_translator",
                                        "is_translation_enabled",
                                        "profile_background_tile",
                                        "profile_use_background_image",
                                        "default_profile",
                                        "default_profile_image",
                                        "following",
                                        "follow_request_sent",
                                        "notifications"};
    static char const* const COUNTS[] = {"followers_count", "friends_count", "listed_count",
                                         "favourites_count", "statuses_count"};
    static char const* const COLORS[] = {"profile_background_color", "profile_link_color",
                                         "profile_sidebar_border_color", "profile_sidebar_fill_color",
                                         "profile_text_color"};
    static char const* const URLS[] = {"profile_background_image_url", "profile_background_image_url_https",
                                       "profile_image_url", "profile_image_url_https", "profile_banner_url"};
    std::string const id = g.Digits(9 + g.Random(2));
    g.Open("user", '{')
        .Raw("id", id)
        .Text("id_str", id)
        .Text("name", g.Words(1))
        .Text("screen_name", "user_" + g.Digits(5));
    g.Text("location", g.Random(2) ? g.Words(1) : "").Text("description", g.Words(5));
    g.Null("url").Open("entities", '{').Open("description", '{').Open("urls", '[').Close().Close().Close();
    for (char const* name : COUNTS)
        g.Number(name, g.Random(20000));
    for (char const* name : FLAGS)
        g.Bool(name, g.Random(2) != 0);
    for (char const* name : COLORS)
        g.Text(name, g.Digits(6));
    for (char const* name : URLS)
        g.Text(name, "http:\\/\\/images.example.com/profile_images/" + g.Digits(18) + "/normal.jpeg");
    g.Text("created_at", "Sun Feb 05 10:56:20 +0000 2012")
        .Null("utc_offset")
        .Null("time_zone")
        .Text("lang", "ja");
    g.Close();
}

inline std::string Messages() {
    Generator g(2);
    g.Open(nullptr, '{').Open("statuses", '[');
    for (unsigned i = 0; i < 180; ++i) {
        std::string const id = "5058" + g.Digits(14);
        g.Open(nullptr, '{')
            .Open("metadata", '{')
            .Text("result_type", "recent")
            .Text("iso_language_code", "ja")
            .Close();
        g.Text("created_at", "Sun Aug 31 00:29:15 +0000 2014")
            .Raw("id", id)
            .Text("id_str", id)
            .Text("text", g.Words(8));
        g.Text("source", "<a href=\\\"https:\\/\\/client.example.com\\/download\\\" "
                         "rel=\\\"nofollow\\\">Client for phones</a>");
        for (char const* name : {"truncated", "favorited", "retweeted"})
            g.Bool(name, false);
        for (char const* name :
             {"in_reply_to_status_id", "in_reply_to_user_id", "geo", "coordinates", "place", "contributors"})
            g.Null(name);
        User(g);
        g.Number("retweet_count", g.Random(100)).Number("favorite_count", g.Random(10));
        g.Open("entities", '{')
            .Open("hashtags", '[')
            .Close()
            .Open("symbols", '[')
            .Close()
            .Open("urls", '[')
            .Close();
        g.Open("user_mentions", '[');
        for (unsigned k = g.Random(3); k != 0; --k) {
            std::string const user = g.Digits(10);
            g.Open(nullptr, '{')
                .Text("screen_name", "user_" + g.Digits(5))
                .Text("name", g.Words(1))
                .Raw("id", user);
            g.Text("id_str", user)
                .Open("indices", '[')
                .Number(nullptr, 0)
                .Number(nullptr, g.Random(140))
                .Close()
                .Close();
        }
        g.Close().Close().Text("lang", "ja").Close();
    }
    g.Close().Open("search_metadata", '{').Raw("completed_in", "0.087").Number("count", 100).Close().Close();
    return g.Take();
}

inline std::string Catalogue() {
    Generator g(4);
    g.Open(nullptr, '{').Open("areaNames", '{');
    for (unsigned i = 0; i < 17; ++i)
        g.Text(g.Digits(9).c_str(), "Arrière-scène côté jardin");
    g.Close().Open("events", '{');
    for (unsigned i = 0; i < 184; ++i) {
        std::string const id = g.Digits(9);
        g.Open(id.c_str(), '{')
            .Null("description")
            .Raw("id", id)
            .Null("logo")
            .Text("name", "30th Anniversary Tour");
        g.Open("subTopicIds", '[').Raw(nullptr, g.Digits(9)).Raw(nullptr, g.Digits(9)).Close();
        g.Null("subjectCode")
            .Null("subtitle")
            .Open("topicIds", '[')
            .Raw(nullptr, g.Digits(9))
            .Close()
            .Close();
    }
    g.Close().Open("performances", '[');
    for (unsigned i = 0; i < 243; ++i) {
        g.Open(nullptr, '{')
            .Raw("eventId", g.Digits(9))
            .Raw("id", g.Digits(9))
            .Null("logo")
            .Null("name")
            .Open("prices", '[');
        unsigned const categories = 3 + g.Random(3);
        for (unsigned k = 0; k < categories; ++k)
            g.Open(nullptr, '{')
                .Number("amount", 90250)
                .Number("audienceSubCategoryId", 337100890)
                .Number("seatCategoryId", 338937295)
                .Close();
        g.Close().Open("seatCategories", '[');
        for (unsigned k = 0; k < categories; ++k) {
            g.Open(nullptr, '{').Open("areas", '[');
            for (unsigned n = 5 + g.Random(9); n != 0; --n)
                g.Open(nullptr, '{')
                    .Number("areaId", 205705990 + g.Random(20))
                    .Open("blockIds", '[')
                    .Close()
                    .Close();
            g.Close().Number("seatCategoryId", 338937295).Close();
        }
        g.Close()
            .Null("seatMapImage")
            .Number("start", 1372701600000)
            .Text("venueCode", "PLEYEL_PLEYEL")
            .Close();
    }
    g.Close().Open("venueNames", '{').Text("PLEYEL_PLEYEL", "Salle Pleyel").Close().Close();
    return g.Take();
}

inline std::string Outline() {
    Generator g(0);
    g.Open(nullptr, '{')
        .Text("type", "FeatureCollection")
        .Open("features", '[')
        .Open(nullptr, '{')
        .Text("type", "Feature");
    g.Open("properties", '{')
        .Text("name", "Canada")
        .Close()
        .Open("geometry", '{')
        .Text("type", "Polygon")
        .Open("coordinates", '[');
    double x = -65.613616999999977;
    double y = 43.420273000000009;
    for (unsigned ring = 0; ring < 480; ++ring) {
        g.Open(nullptr, '[');
        for (unsigned i = 0; i < 117; ++i) {
            char text[64];
            g.Open(nullptr, '[');
            for (double* at : {&x, &y}) {
                *at += (static_cast<double>(g.Random(20001)) - 10000) / 1000003;
                snprintf(text, sizeof(text), "%.17g", *at);
                g.Raw(nullptr, text);
            }
            g.Close();
        }
        g.Close();
    }
    g.Close().Close().Close().Close().Close();
    return g.Take();
}

// Ten members, as a management program exchanges them.
inline std::string Record() {
    return R"({"name":"wan0","state":"up","mtu":1492,"rx":123456789,"tx":98765,"errors":0,"load":0.25,"up":true,"mac":null,"tag":7})";
}

} // namespace JsonCorpus
