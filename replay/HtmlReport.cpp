#include "webstep/replay/HtmlReport.h"

#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "webstep/replay/ResultsWriter.h"

namespace {

const char* const kStyle = R"CSS(
body{font:14px/1.45 system-ui,-apple-system,"Segoe UI",Roboto,"Helvetica Neue",Arial,sans-serif;color:#222;background:#fff;margin:24px auto;max-width:1280px;padding:0 16px}
h1{font-size:22px;font-weight:600;margin:0 0 4px}
h2{font-size:17px;font-weight:600;margin:28px 0 8px;border-bottom:1px solid #ddd;padding-bottom:4px}
.meta{color:#555;margin:0 0 12px}
.verdict{display:inline-block;padding:1px 8px;border-radius:3px;font-weight:600;color:#fff}
.verdict.pass{background:#4b8b3b}.verdict.fail{background:#b5443a}
.facts{display:flex;flex-wrap:wrap;gap:8px 28px;margin:12px 0}
.facts div{min-width:110px}.facts b{display:block;font-size:20px;font-weight:600}
.facts span{color:#666;font-size:12px;text-transform:uppercase;letter-spacing:.04em}
.plots{display:grid;grid-template-columns:repeat(auto-fit,minmax(560px,1fr));gap:18px 24px}
.plot-box h3{font-size:14px;font-weight:600;margin:0 0 2px}
.plot-box .note{color:#666;font-size:12px}
svg.plot{width:100%;height:auto;display:block}
svg.plot .grid{stroke:#e6e6e6;stroke-width:1}
svg.plot .axis{stroke:#888;stroke-width:1}
svg.plot text{font-size:11px;fill:#555}
svg.plot .title{font-size:12px;fill:#333}
svg.plot .empty{font-size:14px;fill:#999}
svg.plot polyline{fill:none;stroke-width:1.8;stroke-linejoin:round}
.legend{display:flex;flex-wrap:wrap;gap:4px 14px;font-size:12px;margin:4px 0 0 56px}
.legend span{cursor:pointer;user-select:none}.legend span.off{opacity:.35}
.legend i{display:inline-block;width:12px;height:3px;margin-right:5px;vertical-align:middle}
.switch button{font:inherit;font-size:12px;border:1px solid #bbb;background:#f6f6f6;padding:1px 8px;cursor:pointer}
.switch button.on{background:#4e79a7;border-color:#4e79a7;color:#fff}
table{border-collapse:collapse;margin:6px 0 4px;font-variant-numeric:tabular-nums}
th,td{padding:4px 10px;border-bottom:1px solid #e4e4e4;text-align:right;white-space:nowrap}
th{background:#f4f4f4;font-weight:600;border-bottom:1px solid #ccc}
th:first-child,td:first-child{text-align:left;white-space:normal;max-width:520px;overflow-wrap:anywhere}
td.bad{color:#b5443a;font-weight:600}
td.n,th.n{text-align:right}
td.msg,th.msg{text-align:left;white-space:normal;overflow-wrap:anywhere}
tr:hover td{background:#fafafa}
.none{color:#777}
)CSS";

// Draws the plots from the embedded data. Kept small and library-free.
const char* const kScript = R"JS(
(function(){
var D=JSON.parse(document.getElementById('run-data').textContent);
var NS='http://www.w3.org/2000/svg';
var COLORS=['#4e79a7','#f28e2b','#59a14f','#e15759','#76b7b2','#b07aa1','#edc948','#9c755f','#ff9da7','#bab0ac'];
var W=640,H=270,L=62,R=26,T=14,B=46;
var w=D.bucket,n=D.rps.length,end=D.end>0?D.end:(n*w||1);
function X(i){return Math.min((i+0.5)*w,end);}
function el(tag,attrs,parent,text){var e=document.createElementNS(NS,tag);for(var k in attrs)e.setAttribute(k,attrs[k]);if(text!=null)e.textContent=text;if(parent)parent.appendChild(e);return e;}
function niceTicks(max,count){if(!(max>0))max=1;var raw=max/count,mag=Math.pow(10,Math.floor(Math.log10(raw))),r=raw/mag;
 var step=(r<=1?1:r<=2?2:r<=2.5?2.5:r<=5?5:10)*mag,t=[];for(var i=0;i<=count+1;i++){t.push(i*step);if(i*step>=max*0.9999)break;}return t;}
function timeTicks(max){var steps=[1,2,5,10,15,30,60,120,300,600,900,1800,3600,7200,10800,21600,43200,86400],s=steps[steps.length-1];
 for(var i=0;i<steps.length;i++)if(max/steps[i]<=8){s=steps[i];break;}var t=[];for(var v=0;v<=max+1e-9;v+=s)t.push(v);return t;}
function pad(v){return(v<10?'0':'')+v;}
function fmtTime(v,max){v=Math.round(v);if(max<=120)return v+' s';var h=Math.floor(v/3600),m=Math.floor(v/60)%60,s=v%60;
 return h>0?h+':'+pad(m)+':'+pad(s):m+':'+pad(s);}
function fmtNum(v){if(v===0)return '0';var a=Math.abs(v);if(a>=1000)return(v/1000).toFixed(a>=10000?0:1)+'k';
 if(a>=10)return v.toFixed(0);if(a>=1)return v.toFixed(2).replace(/\.?0+$/,'');return v.toPrecision(2).replace(/0+$/,'').replace(/\.$/,'');}
// plotData: {yLabel, unit, bars, series:[{name,color,values:[number|null per bucket]}]}
function draw(box,plotData){
 var svg=box.querySelector('svg');if(svg)svg.remove();
 svg=el('svg',{viewBox:'0 0 '+W+' '+H,'class':'plot',role:'img','aria-label':plotData.yLabel});
 box.insertBefore(svg,box.querySelector('.legend'));
 var yMax=0,total=0;plotData.series.forEach(function(s){if(s.hidden)return;s.values.forEach(function(v){if(v!=null&&v>yMax)yMax=v;});});
 var yt=niceTicks(yMax,5);yMax=yt[yt.length-1];
 function xs(x){return L+(W-L-R)*x/end;}function ys(y){return H-B-(H-B-T)*y/yMax;}
 yt.forEach(function(v){el('line',{x1:L,x2:W-R,y1:ys(v),y2:ys(v),'class':'grid'},svg);
  el('text',{x:L-6,y:ys(v)+4,'text-anchor':'end'},svg,fmtNum(v));});
 timeTicks(end).forEach(function(v){el('line',{x1:xs(v),x2:xs(v),y1:H-B,y2:H-B+4,'class':'axis'},svg);
  el('text',{x:xs(v),y:H-B+16,'text-anchor':'middle'},svg,fmtTime(v,end));});
 el('line',{x1:L,x2:W-R,y1:H-B,y2:H-B,'class':'axis'},svg);el('line',{x1:L,x2:L,y1:T,y2:H-B,'class':'axis'},svg);
 el('text',{x:(L+W-R)/2,y:H-8,'text-anchor':'middle','class':'title'},svg,'elapsed time ('+(end<=120?'s':end<3600?'m:ss':'h:mm:ss')+')');
 el('text',{x:14,y:(T+H-B)/2,'text-anchor':'middle','class':'title',transform:'rotate(-90 14 '+(T+H-B)/2+')'},svg,plotData.yLabel);
 var bw=Math.max(1,(W-L-R)*w/end*0.8);
 plotData.series.forEach(function(s){if(s.hidden)return;var seg=[],shown=0;
  s.values.forEach(function(v){if(v!=null)shown++;});
  var marks=shown<=150;
  function flush(){if(seg.length>1){var p=el('polyline',{points:seg.join(' '),stroke:s.color},svg);if(s.dash)p.setAttribute('stroke-dasharray',s.dash);}seg=[];}
  s.values.forEach(function(v,i){if(v==null)return;total++;
   var x=xs(X(i)),y=ys(v),tip=s.name+': '+fmtNum(v)+(plotData.unit?' '+plotData.unit:'')+' at '+fmtTime(X(i),1e9);
   if(plotData.bars){if(v>0){var r=el('rect',{x:x-bw/2,y:y,width:bw,height:H-B-y,fill:s.color,'class':'bar'},svg);el('title',{},r,tip);}else total--;return;}
   seg.push(x.toFixed(1)+','+y.toFixed(1));
   if(marks){var c=el('circle',{cx:x,cy:y,r:2.4,fill:s.color,'class':'point'},svg);el('title',{},c,tip);}});
  flush();});
 if(total===0)el('text',{x:(L+W-R)/2,y:(T+H-B)/2,'text-anchor':'middle','class':'empty'},svg,'no data');
 svg.setAttribute('data-points',total);
 var legend=box.querySelector('.legend');legend.innerHTML='';
 plotData.series.forEach(function(s){var item=document.createElement('span');if(s.hidden)item.className='off';
  var sw=document.createElement('i');if(s.dash)sw.style.borderTop='3px '+(s.dash==='2,3'?'dotted ':'dashed ')+s.color;else sw.style.background=s.color;if(s.dash)sw.style.height='0';item.appendChild(sw);item.appendChild(document.createTextNode(s.name));
  if(plotData.series.length>1)item.onclick=function(){s.hidden=!s.hidden;draw(box,plotData);};legend.appendChild(item);});
}
function only(values){return values.map(function(v){return v;});}
// Past ten transactions the colours come back dashed, then dotted.
var DASHES=['','6,3','2,3'];
var tx=D.transactions.map(function(t,k){return{name:t.name,color:COLORS[k%COLORS.length],dash:DASHES[Math.floor(k/COLORS.length)%3],t:t};});
var rtSpec={yLabel:'response time (s)',unit:'s',series:tx};
function percentile(p){tx.forEach(function(s){s.values=s.t[p].map(function(v,i){return s.t.count[i]>0?v:null;});});
 draw(document.getElementById('plot-rt'),rtSpec);
 document.querySelectorAll('#rt-switch button').forEach(function(b){b.className=b.value===p?'on':'';});}
document.querySelectorAll('#rt-switch button').forEach(function(b){b.onclick=function(){percentile(b.value);};});
percentile('p90');
draw(document.getElementById('plot-rps'),{yLabel:'requests per second',unit:'req/s',series:[{name:'requests per second',color:COLORS[0],values:only(D.rps)}]});
draw(document.getElementById('plot-users'),{yLabel:'running users',unit:'users',series:[{name:'running users',color:COLORS[2],values:only(D.users)}]});
draw(document.getElementById('plot-errors'),{yLabel:'errors per '+fmtNum(w)+' s',unit:'errors',bars:true,series:[{name:'errors',color:COLORS[3],values:only(D.errors)}]});
document.documentElement.setAttribute('data-plots-drawn',document.querySelectorAll('svg.plot').length);
})();
)JS";

std::string Escape(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (char c : text) {
        switch (c) {
            case '&':
                out += "&amp;";
                break;
            case '<':
                out += "&lt;";
                break;
            case '>':
                out += "&gt;";
                break;
            case '"':
                out += "&quot;";
                break;
            case '\'':
                out += "&#39;";
                break;
            default:
                out += c;
        }
    }
    return out;
}

std::string Fixed(double value, int decimals) {
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, std::isfinite(value) ? value : 0.0);
    return text;
}

std::string Duration(double seconds) {
    const auto whole = static_cast<unsigned long long>(std::max(0.0, seconds));
    char text[64];
    std::snprintf(text, sizeof text, "%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60,
                  whole % 60);
    return text;
}

std::string Cell(std::uint64_t value, bool badWhenSet = false) {
    return std::string(badWhenSet && value ? "<td class=\"bad\">" : "<td>") +
           std::to_string(value) + "</td>";
}

}  // namespace

CHtmlReport::CHtmlReport(const CRunStatistics& statistics) : m_statistics(statistics) {}

std::string CHtmlReport::Render() const {
    const CRunStatistics& stats = m_statistics;
    const CRunStatistics::Series series = stats.TimeSeries();

    nlohmann::json data;
    data["bucket"] = series.bucketWidth;
    data["end"] = stats.Elapsed();
    data["rps"] = series.requestsPerSecond;
    data["users"] = series.users;
    data["errors"] = series.errors;
    data["transactions"] = nlohmann::json::array();
    for (const CRunStatistics::Series::Transaction& t : series.transactions)
        data["transactions"].push_back(
            {{"name", t.name}, {"count", t.count}, {"p50", t.p50}, {"p90", t.p90}, {"p95", t.p95}});
    std::string json = data.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    // Inside a <script> element "</" could end it early.
    for (std::size_t at = json.find("</"); at != std::string::npos; at = json.find("</", at + 3))
        json.replace(at, 2, "<\\/");

    const std::string title = m_title.empty() ? std::string("Load run") : m_title;
    std::string page;
    page.reserve(16384 + json.size());
    page += "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n";
    page += "<meta name=\"viewport\" content=\"width=device-width,initial-scale=1\">\n";
    page += "<title>" + Escape(title) + " - webstep report</title>\n";
    // Installed first, so that an error anywhere in the drawing is seen.
    page +=
        "<script>window.onerror=function(m,s,l){document.documentElement.setAttribute("
        "'data-script-error',m+' (line '+l+')');};</script>\n";
    page += "<style>";
    page += kStyle;
    page += "</style>\n</head>\n<body>\n";

    page += "<h1>" + Escape(title) + "</h1>\n<p class=\"meta\">";
    page += stats.Failed() ? "<span class=\"verdict fail\">FAILED</span>"
                           : "<span class=\"verdict pass\">PASSED</span>";
    if (m_hasStart)
        page += " &nbsp;started " + CResultsWriter::IsoTime(m_start, 0);
    page += " &nbsp;duration " + Duration(stats.Elapsed()) + "</p>\n";

    page += "<div class=\"facts\">";
    auto fact = [&page](const std::string& value, const char* label) {
        page += "<div><b>" + value + "</b><span>" + label + "</span></div>";
    };
    fact(std::to_string(stats.UsersStarted()), "users");
    fact(std::to_string(stats.IterationsDone()), "iterations");
    fact(std::to_string(stats.Requests()), "requests");
    fact(Fixed(stats.Elapsed() > 0 ? double(stats.Requests()) / stats.Elapsed() : 0, 1),
         "requests / s (mean)");
    fact(std::to_string(stats.ErrorCount()), "errors");
    page += "</div>\n";

    page += "<h2>Over time</h2>\n<div class=\"plots\">\n";
    page +=
        "<div class=\"plot-box\" id=\"plot-rt\"><h3>Response time per transaction "
        "<span class=\"switch\" id=\"rt-switch\"><button value=\"p50\">p50</button>"
        "<button value=\"p90\">p90</button><button value=\"p95\">p95</button></span></h3>"
        "<div class=\"note\">percentile of the passed transactions ended in each " +
        Fixed(series.bucketWidth, 0) +
        " s interval; click a name to hide it</div><div class=\"legend\"></div></div>\n";
    page +=
        "<div class=\"plot-box\" id=\"plot-rps\"><h3>Throughput</h3><div class=\"note\">"
        "requests ended per second</div><div class=\"legend\"></div></div>\n";
    page +=
        "<div class=\"plot-box\" id=\"plot-users\"><h3>Running users</h3><div class=\"note\">"
        "the most users running at once in each interval</div><div "
        "class=\"legend\"></div></div>\n";
    page +=
        "<div class=\"plot-box\" id=\"plot-errors\"><h3>Errors</h3><div class=\"note\">"
        "failed requests, failed steps and failed users in each interval</div><div "
        "class=\"legend\"></div></div>\n";
    page += "</div>\n";

    page += "<h2>Transactions</h2>\n";
    const auto transactions = stats.Transactions();
    if (transactions.empty()) {
        page += "<p class=\"none\">No transactions.</p>\n";
    } else {
        page +=
            "<table><tr><th>transaction</th><th>count</th><th>passed</th><th>failed</th>"
            "<th>stopped</th><th>min (s)</th><th>avg (s)</th><th>p50 (s)</th><th>p90 "
            "(s)</th><th>p95 (s)</th><th>max (s)</th></tr>\n";
        for (const auto& row : transactions) {
            page += "<tr><td>" + Escape(row.name) + "</td>" + Cell(row.count) + Cell(row.passed) +
                    Cell(row.failed, true) + Cell(row.stopped);
            for (double value : {row.min, row.average, row.p50, row.p90, row.p95, row.max})
                page += "<td>" + (row.passed ? Fixed(value, 3) : std::string("-")) + "</td>";
            page += "</tr>\n";
        }
        page +=
            "</table>\n<p class=\"note\">Times of the passed transactions, think time "
            "included; a stopped transaction counts as neither passed nor failed.</p>\n";
    }

    page += "<h2>Requests per step</h2>\n";
    const auto steps = stats.Steps();
    if (steps.empty()) {
        page += "<p class=\"none\">No requests.</p>\n";
    } else {
        page +=
            "<table><tr><th>step</th><th>1xx</th><th>2xx</th><th>3xx</th><th>4xx</th>"
            "<th>5xx</th><th>failed</th></tr>\n";
        for (const auto& row : steps) {
            page += "<tr><td>" + Escape(row.step) + "</td>";
            for (int i = 0; i < 5; ++i)
                page += Cell(row.byClass[i], i >= 3);
            page += Cell(row.failed, true) + "</tr>\n";
        }
        page += "</table>\n";
    }

    page += "<h2>Errors</h2>\n";
    const auto errors = stats.Errors();
    if (errors.empty()) {
        page += "<p class=\"none\">No errors.</p>\n";
    } else {
        page += "<table><tr><th class=\"n\">count</th><th class=\"msg\">message</th></tr>\n";
        for (const auto& row : errors)
            page += "<tr><td class=\"n\">" + std::to_string(row.count) + "</td><td class=\"msg\">" +
                    Escape(row.message) + "</td></tr>\n";
        page += "</table>\n";
    }

    page += "<script type=\"application/json\" id=\"run-data\">" + json + "</script>\n";
    page += "<script>";
    page += kScript;
    page += "</script>\n</body>\n</html>\n";
    return page;
}

bool CHtmlReport::Write(const std::string& path, std::string& error) const {
    CResultsWriter::StreamedFile file;
    if (!file.Open(path, error))
        return false;
    file.Write(Render());
    return file.Commit(error);
}
