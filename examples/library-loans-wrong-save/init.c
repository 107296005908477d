/* Northfield Library loan service (an invented library on example.org):
 * open the home page and sign in with a library card number and PIN. */
#include "web_api.h"

init()
{
	web_set_max_html_param_len("2048");

	web_add_auto_header("Accept-Language", "en-GB,en;q=0.8");

	/* The sign-in form carries a token that later posts must send back.
	 * Wrong on purpose: the left boundary says "csfr", which the page never
	 * has, so this rule finds nothing and fails the home page step. */
	web_reg_save_param("csrf",
		"LB=name=\"csfr\" value=\"",
		"RB=\"",
		"Notfound=error",
		LAST);

	web_reg_find("Text=Welcome to Northfield Library", LAST);

	web_url("home",
		"URL=https://loans.example.org/",
		"Resource=0",
		"RecContentType=text/html",
		"Referer=",
		"Snapshot=t1.inf",
		"Mode=HTML",
		EXTRARES,
		"Url=/static/site.css", ENDITEM,
		"Url=/static/northfield-logo.png", "Referer=https://loans.example.org/", ENDITEM,
		LAST);

	qz_start_transaction("sign_in");

	web_reg_find("Text=Signed in as", LAST);

	web_submit_form("sign_in",
		"Snapshot=t2.inf",
		ITEMDATA,
		"Name=card", "Value=29000012345678", ENDITEM,
		"Name=pin", "Value={PatronPin}", ENDITEM,
		"Name=remember", "Value=<OFF>", ENDITEM,
		LAST);

	qz_end_transaction("sign_in", QZ_AUTO);

	return 0;
}
