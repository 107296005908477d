/* Reserve: new arrivals at Harbour Street (a frameset of two frames), the
 * record page of one title, the reservation, and a notification by SMS
 * through the holds API. */
#include "globals.h"

reserve()
{
	web_url("branch_list",
		"URL={BaseUrl}/branches/list",
		"Resource=0",
		"RecContentType=text/html",
		"Referer={BaseUrl}/start",
		"Snapshot=t7.inf",
		"Mode=HTML",
		LAST);

	web_link("Harbour Street",
		"Text=Harbour Street",
		"Snapshot=t8.inf",
		LAST);

	web_link("New arrivals",
		"Text=New arrivals",
		"Snapshot=t9.inf",
		LAST);

	qz_think_time(4);

	/* The title's link is in frame list of the new arrivals. */
	web_link("Tide Mills of the Estuary",
		"Text=Tide Mills of the Estuary",
		"Snapshot=t10.inf",
		LAST);

	qz_start_transaction("reserve");

	/* LastHoldId is an output parameter: this rule writes it. */
	web_reg_save_param("LastHoldId",
		"LB=Your hold number: <b>",
		"RB=</b>",
		"NotFound=ERROR",
		LAST);

	web_submit_form("reserve",
		"Snapshot=t11.inf",
		ITEMDATA,
		"Name=branch", "Value=mill-lane", ENDITEM,
		"Name=pickup", "Value={PickupDate}", ENDITEM,
		LAST);

	qz_end_transaction("reserve", QZ_AUTO);

	web_add_header("X-Client-Id", "vu{VuserId}");

	web_custom_request("notify",
		"URL={BaseUrl}/api/holds/{LastHoldId}/notify",
		"Method=POST",
		"Resource=0",
		"RecContentType=application/json",
		"Referer={BaseUrl}/holds",
		"Snapshot=t12.inf",
		"Mode=HTTP",
		"EncType=application/json",
		"Body={\"hold\":\"{LastHoldId}\",\"channel\":\"sms\","
		"\"pickupBranch\":\"mill-lane\"}",
		LAST);

	return 0;
}
