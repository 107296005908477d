/* Sign out: the server ends the session and sends the user to the goodbye
 * page. */
#include "globals.h"

end()
{
	web_reg_find("Text=You have signed out", LAST);

	web_url("sign_out",
		"URL={BaseUrl}/session/end",
		"Resource=0",
		"RecContentType=text/html",
		"Referer={BaseUrl}/account/renewals",
		"Snapshot=t17.inf",
		"Mode=HTML",
		LAST);

	return 0;
}
