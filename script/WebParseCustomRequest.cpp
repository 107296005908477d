// Parsers of the custom requests and their protocol variants.
#include "webstep/script/internal/DefineParser.h"

WEBSTEP_DEFINE_PARSER(CWebParseCustomRequest, CWebStepCustomRequest, "web_custom_request",
                      AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseFlexCustomRequest, CWebStepFlexCustomRequest, "flex_web_request",
                      AS_ATTRIBUTES, 0, LA_STEP_NAME)
WEBSTEP_DEFINE_PARSER(CWebParseSilverlightCustomRequest, CWebStepSilverlightCustomRequest,
                      "silverlight_web_request", AS_ATTRIBUTES, 0, LA_STEP_NAME)
