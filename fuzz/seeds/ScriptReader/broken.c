web_url("a", "URL=http://x/°¡
, LAST); web_link("b" web_unknown("c", LAST);
/* open