// Parsers of the steps that load pages.
#include "webstep/script/internal/DefineParser.h"

WEBSTEP_DEFINE_PARSER(CWebParseUrl, CWebStepUrl, "web_url", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseLink, CWebStepLink, "web_link", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseImage, CWebStepImage, "web_image", AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSubmitForm, CWebStepSubmitForm, "web_submit_form", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSubmitData, CWebStepSubmitData, "web_submit_data", AS_ATTRIBUTES, 0,
                      LA_STEP_NAME)
