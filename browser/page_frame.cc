// The frame of the pages, their answers, and the two files every page uses.

#include "browser/page_frame.h"

#include "browser/html_text.h"

namespace http = boost::beast::http;

const char kContentSecurityPolicy[] =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; base-uri 'none'; "
    "form-action 'self'; frame-ancestors 'none'";

std::string NamespaceLink(const TFrameNamespaces::TServed& ns, bool markCurrent) {
  return "<a href=\"" + Html(ns.overview) + "\"" + (markCurrent && ns.current ? " aria-current=\"true\"" : "") + ">" +
         Html(ns.name) + "</a>" + (ns.interop ? " <span class=\"badge\">Interop</span>" : "");
}

std::string FramedPage(const TFrameNamespaces& where, const std::string& title, const std::string& body) {
  // The switch: the page's namespace, opening (without a script) into the
  // list of every served one, the page's own marked.
  const std::string shown =
      where.current.empty() ? std::string("namespaces") : "<span class=\"namespace\">" + Html(where.current) + "</span>";
  std::string served;
  for (const TFrameNamespaces::TServed& ns : where.served) {
    served += (ns.current ? "<li class=\"current\">" : "<li>") + NamespaceLink(ns, true) + "</li>";
  }
  std::string nav = "<a href=\"" + Html(where.overview) + "\">Overview</a>";
  if (!where.classes.empty()) nav += "<a href=\"" + Html(where.classes) + "\">Classes</a>";
  return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
         "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">"
         "<title>" + Html(title) + " \xC2\xB7 inmem</title><link rel=\"stylesheet\" href=\"/style.css\"></head>\n"
         "<body><header><a class=\"brand\" href=\"/\">inmem</a><details class=\"switch\"><summary title=\"Switch "
         "to another namespace\">" + shown + "</summary><ul>" + served + "</ul></details><nav>" + nav +
         "</nav></header>\n<main>" + body + "</main></body></html>\n";
}

THttpAnswer PageAnswer(http::status status, std::string body, const char* contentType, const std::string& what) {
  THttpAnswer answer;
  answer.status = status;
  answer.contentType = contentType;
  answer.headers.emplace_back("Content-Security-Policy", kContentSecurityPolicy);
  answer.headers.emplace_back("X-Content-Type-Options", "nosniff");
  answer.headers.emplace_back("Referrer-Policy", "no-referrer");
  answer.headers.emplace_back("Cache-Control", "no-store");
  answer.body = WholeBody(std::move(body));
  answer.record.operation = "GET";
  answer.record.target = what;
  return answer;
}

THttpAnswer NotFoundPage(const TFrameNamespaces& where, const std::string& what) {
  const std::string back = where.classes.empty() ? "<a href=\"" + Html(where.overview) + "\">Overview</a>"
                                                 : "<a href=\"" + Html(where.classes) + "\">All classes</a>";
  return PageAnswer(http::status::not_found,
                    FramedPage(where, "Not found",
                               "<h1>Not found</h1><p class=\"problem\">" + Html(what) + "</p><p>" + back + "</p>"),
                    "text/html; charset=utf-8", what);
}

THttpAnswer BadRequestPage(const TFrameNamespaces& where, const std::string& why) {
  return PageAnswer(http::status::bad_request,
                    FramedPage(where, "Bad request",
                               "<h1>Bad request</h1><p class=\"problem\">" + Html(why) + "</p>"),
                    "text/html; charset=utf-8", why);
}

const char kStyleSheet[] = R"(
:root { --ink: #1d2733; --muted: #5b6b7c; --line: #d5dde6; --accent: #2f6597; --soft: #f3f6f9; }
* { box-sizing: border-box; }
body { margin: 0; font: 15px/1.45 system-ui, -apple-system, "Segoe UI", sans-serif; color: var(--ink); }
header { display: flex; gap: 1.2em; align-items: baseline; padding: .7em 1.5em; background: #1f3a56; color: #fff; }
header a { color: #fff; text-decoration: none; }
header .brand { font-weight: 700; font-size: 1.15em; }
header .namespace { color: #b8cde2; font-family: ui-monospace, monospace; }
header details.switch { position: relative; }
header details.switch summary { cursor: pointer; color: #b8cde2; }
header details.switch ul { position: absolute; z-index: 1; list-style: none; margin: .4em 0 0; padding: .3em 0;
  min-width: 16em; background: #fff; border: 1px solid var(--line); border-radius: .3em;
  box-shadow: 0 .2em .8em rgba(0, 0, 0, .2); }
header details.switch li { display: flex; align-items: baseline; gap: .6em; padding: .15em .9em; white-space: nowrap; }
header details.switch li a { color: var(--accent); font-family: ui-monospace, monospace; }
header details.switch li.current { background: var(--soft); }
header details.switch li.current a { color: var(--ink); font-weight: 700; }
header details.switch li.current a::before { content: "\2713\00a0"; }
header nav { margin-left: auto; display: flex; gap: 1em; }
main { padding: 1em 1.5em 3em; max-width: 80em; }
a { color: var(--accent); }
h1 { font-size: 1.5em; margin: .4em 0; word-break: break-all; }
h2 { font-size: 1.15em; margin: 1.6em 0 .5em; border-bottom: 1px solid var(--line); padding-bottom: .2em; }
table { border-collapse: collapse; margin: .3em 0 1em; }
th, td { text-align: left; vertical-align: top; padding: .25em .8em .25em 0; border-bottom: 1px solid var(--line); }
th { color: var(--muted); font-weight: 600; }
td.value { font-family: ui-monospace, monospace; word-break: break-word; }
.muted, .inherited { color: var(--muted); }
.badge { display: inline-block; font-size: .8em; padding: .05em .5em; border-radius: .8em; background: var(--soft); border: 1px solid var(--line); margin-right: .4em; }
.problem { background: #fff1f0; border: 1px solid #f2c4c0; padding: .6em .9em; border-radius: .3em; }
.counts { display: flex; flex-wrap: wrap; gap: 1em; margin: .5em 0 1em; }
.counts div { background: var(--soft); border: 1px solid var(--line); border-radius: .4em; padding: .6em 1em; min-width: 9em; }
.counts b { display: block; font-size: 1.6em; }
.part { border: 1px solid var(--line); border-radius: .4em; padding: .4em 1em; margin: .8em 0; }
.part h3 { margin: .3em 0; font-size: 1em; }
pre { background: var(--soft); border: 1px solid var(--line); padding: .8em; overflow: auto; font-size: .85em; }
figure { margin: 1em 0; }
figure img { max-width: 100%; border: 1px solid var(--line); border-radius: .3em; }
ul.tree, ul.tree ul { list-style: none; padding-left: 1.1em; margin: 0; }
ul.tree > li { margin-left: -1.1em; }
ul.tree summary { cursor: pointer; }
ul.tree li.leaf { padding-left: 1.05em; }
ul.tree li.hidden { display: none; }
ul.tree li.match > a, ul.tree li.match > details > summary > a { background: #fff2b3; }
ul.tree li.prefix > a, ul.tree li.prefix > details > summary > a { font-weight: 700; }
#filter { font: inherit; padding: .35em .6em; width: 22em; max-width: 100%; margin: .3em 0 .8em; }
nav.pages { display: flex; gap: 1em; margin: .6em 0; }
tr.current td { background: var(--soft); }
form.filter { display: flex; flex-wrap: wrap; gap: .5em; align-items: center; margin: .6em 0; }
form.filter input { font: 14px/1.3 ui-monospace, monospace; padding: .35em .6em; width: 32em; max-width: 100%; }
form.filter button { font: inherit; padding: .3em .9em; }
)";

const char kTreeScript[] = R"(
// The class tree's search: names containing the text (in any letter case)
// stay, with the branches that lead to them opened; names that start with
// it are marked. /classes?q=TEXT opens the page with TEXT searched.
(function () {
  var filter = document.getElementById('filter');
  var tree = document.getElementById('tree');
  var said = document.getElementById('matches');
  if (!filter || !tree) return;
  var items = Array.prototype.slice.call(tree.getElementsByTagName('li'));
  function show(text) {
    var query = text.trim().toLowerCase();
    var found = 0, byPrefix = 0;
    for (var i = items.length - 1; i >= 0; --i) {
      var li = items[i];
      var name = li.getAttribute('data-name');
      var match = query !== '' && name.indexOf(query) >= 0;
      var prefix = match && name.indexOf(query) === 0;
      var below = false;
      var children = li.querySelectorAll(':scope > details > ul > li');
      for (var j = 0; j < children.length; ++j) below = below || !children[j].classList.contains('hidden');
      li.classList.toggle('match', match);
      li.classList.toggle('prefix', prefix);
      li.classList.toggle('hidden', query !== '' && !match && !below);
      var details = li.querySelector(':scope > details');
      if (details) details.open = query !== '' ? below : li.hasAttribute('data-open');
      if (match) { ++found; if (prefix) ++byPrefix; }
    }
    said.textContent = query === '' ? '' : found + ' classes match, ' + byPrefix + ' by their start';
  }
  filter.addEventListener('input', function () { show(filter.value); });
  var asked = new URLSearchParams(window.location.search).get('q');
  if (asked) filter.value = asked;
  if (filter.value) show(filter.value);
})();
)";
