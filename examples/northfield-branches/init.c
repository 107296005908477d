/* Northfield Library branches (an invented library on example.org): open
 * the branches home page and sign in with a card and PIN from patrons.dat. */
#include "globals.h"

init()
{
	web_set_max_html_param_len("1024");

	web_add_auto_header("Accept-Language", "en-GB,en;q=0.8");

	/* The sign-in form's token is sent back by later posts. */
	web_reg_save_param("formToken",
		"LB=name=\"token\" value=\"",
		"RB=\"",
		LAST);

	web_url("home",
		"URL={BaseUrl}/",
		"Resource=0",
		"RecContentType=text/html",
		"Referer=",
		"Snapshot=t1.inf",
		"Mode=HTML",
		EXTRARES,
		"Url=/static/fonts/northfield.woff2", "Referer={BaseUrl}/static/branches.css", ENDITEM,
		LAST);

	qz_start_transaction("sign_in");

	web_reg_find("Text=Signed in as", LAST);

	web_submit_form("signin",
		"Snapshot=t2.inf",
		ITEMDATA,
		"Name=card", "Value={PatronCard}", ENDITEM,
		"Name=pin", "Value={PatronPin}", ENDITEM,
		LAST);

	qz_end_transaction("sign_in", QZ_AUTO);

	return 0;
}
