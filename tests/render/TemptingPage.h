#pragma once

#include <string>

namespace ostrel {

// A page that asks the server on this port of this machine for something in every way that HTML and CSS know.
inline std::string temptingPage(const std::string& port) {
    std::string html = R"html(<!DOCTYPE html><html manifest="BASE/manifest"><head>
        <link rel=stylesheet href="BASE/a.css"><link rel=icon href="BASE/icon"><link rel=preload as=image href="BASE/p">
        <link rel=prefetch href="BASE/b"><link rel=preconnect href="BASE/"><link rel=dns-prefetch href="BASE/">
        <link rel=preconnect href="BASE/" crossorigin><link rel=modulepreload href="BASE/m.js">
        <link rel=prerender href="BASE/c"><link rel=import href="BASE/d"><link rel=manifest href="BASE/e">
        <link rel=stylesheet href="FTP/a.css">
        <meta http-equiv=refresh content="0;url=BASE/refresh"><meta http-equiv=x-dns-prefetch-control content=on>
        <style>@import "BASE/import.css"; @import url(FTP/import.css) print;
        @font-face{font-family:far;src:url(BASE/font.woff2)} p{font-family:far}
        ul{list-style-image:url(BASE/list)} body{background:url(BASE/bg), image-set(url(BASE/set) 1x)}
        p::before{content:url(BASE/content)} i{cursor:url(BASE/cursor),auto;border-image:url(BASE/border) 1}
        b{mask-image:url(BASE/mask);filter:url(BASE/filter.svg#f);shape-outside:url(BASE/shape)}
        @media print{div{background:url(BASE/printonly)}}</style><script src="BASE/script.js"></script></head>
        <body background="BASE/background"><p>text <i>i</i> <b>b</b></p><ul><li>item</ul><div>div</div>
        <img src="BASE/img" srcset="BASE/set1 1x, BASE/set2 2x" lowsrc="BASE/low"><img src="//HOST/schemeless">
        <img src="FTP/img"><img src="file:///etc/passwd" alt=file><img loading=lazy src="BASE/lazy">
        <picture><source srcset="BASE/source"><img src="BASE/picture"></picture>
        <iframe src="BASE/frame"></iframe><iframe srcdoc="<img src='BASE/inner'>"></iframe>
        <iframe src="file:///"></iframe><object data="BASE/object" type="text/html"></object><embed src="BASE/embed">
        <video autoplay src="BASE/video" poster="BASE/poster"></video><audio autoplay preload=auto src="BASE/audio">
        </audio><video><source src="BASE/vs"><track src="BASE/track" default></video>
        <svg><image href="BASE/svg"/><image xlink:href="BASE/svg2"/><use href="BASE/use.svg#x"/>
        <script href="BASE/svgscript"/><feImage href="BASE/fe"/></svg>
        <form action="BASE/form"><input type=image src="BASE/image" autofocus onfocus="this.form.submit()"></form>
        <table background="BASE/table"><tr><td background="BASE/cell" style="background:url('BASE/style')">x</table>
        <a href="BASE/link" ping="BASE/ping" download autofocus>link</a><base href="BASE/"><img src="relative">
        <script>fetch("BASE/fetch"); new WebSocket("WS/"); location = "BASE/location"; new Image().src = "BASE/new";
        navigator.sendBeacon("BASE/beacon")</script><img src=x onerror="fetch('BASE/onerror')"><p>END</p>)html";
    const std::string host = "localhost:" + port;
    const struct {
        const char* word;
        std::string server;
    } rows[] = {{"BASE", "http://" + host}, {"FTP", "ftp://127.0.0.1:" + port}, {"WS", "ws://" + host}, {"HOST", host}};
    for (const auto& [word, server] : rows) {
        for (std::size_t at = 0; (at = html.find(word, at)) != std::string::npos; at += server.size()) {
            html.replace(at, std::string(word).size(), server);
        }
    }
    return html;
}

}   // namespace ostrel
