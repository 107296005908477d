/* Browse: the list of branches, one branch, and its shelves: a frameset
 * three levels deep (banner | sections | filter over items), searched with
 * the filter form of the deepest frame. */
#include "globals.h"

browse()
{
	web_url("branch_list",
		"URL={BaseUrl}/branches/list",
		"Resource=0",
		"RecContentType=text/html",
		"Referer={BaseUrl}/start",
		"Snapshot=t3.inf",
		"Mode=HTML",
		LAST);

	qz_think_time(3);

	web_link("Mill Lane",
		"Text=Mill Lane",
		"Snapshot=t4.inf",
		LAST);

	web_link("Browse the shelves",
		"Text=Browse the shelves",
		"Snapshot=t5.inf",
		LAST);

	qz_think_time(5);

	qz_start_transaction("shelf_search");

	web_reg_find("Text=items on the shelves of Mill Lane", LAST);

	/* The filter form sits in frame filter, inside browser, inside body;
	 * it opens its results in the whole window. */
	web_submit_form("filter",
		"Snapshot=t6.inf",
		ITEMDATA,
		"Name=q", "Value={SearchTerm}", ENDITEM,
		"Name=sort", "Value=title", ENDITEM,
		"Name=available", "Value=<ON>", ENDITEM,
		LAST);

	qz_end_transaction("shelf_search", QZ_AUTO);

	return 0;
}
