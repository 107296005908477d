// A recorded script folder: its description, run logic, parameters and
// recording read as one folder; what user 3 sees in iteration 2; and whether
// a planned request is the one the recording holds.
#include <webstep/recording/ParameterContext.h>
#include <webstep/recording/ParameterSet.h>
#include <webstep/recording/Recording.h>
#include <webstep/recording/RequestComparison.h>
#include <webstep/recording/ScriptFolder.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

static void Write(const fs::path& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

int main() {
    std::string pattern = (fs::temp_directory_path() / "recording-example-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr)
        return 1;
    const fs::path dir = pattern;
    fs::create_directories(dir / "data");
    Write(dir / "loans.usr",
          "[General]\r\nParameterFile=loans.prm\r\n[Actions]\r\nvuser_init=vuser_init.c\r\n"
          "Action=Action.c\r\nvuser_end=vuser_end.c\r\n");
    for (const char* action : {"vuser_init", "Action", "vuser_end"})
        Write(dir / (std::string(action) + ".c"), std::string(action) + "()\n{\n\treturn 0;\n}\n");
    Write(dir / "default.cfg", "[WEB]\r\nHttpVer=1.1\r\n[Iterations]\r\nNumOfIterations=2\r\n");
    Write(dir / "loans.prm",
          "[parameter:Card]\r\nType=\"Table\"\r\nTable=\"cards.dat\"\r\nColumnName=\"card\"\r\n"
          "SelectNextRow=\"Sequential\"\r\nGenerateNewVal=\"EachIteration\"\r\n");
    Write(dir / "cards.dat", "card\n1001\n1002\n1003\n");
    Write(dir / "data" / "t1.inf",
          "[t1]\r\nFileName1=t1.htm\r\nURL1=https://loans.example.org/c?card=1001\r\n"
          "SnapshotXmlFile=snapshot_1.xml\r\n");
    Write(dir / "data" / "t1.htm", "<html><title>Loans</title></html>");
    // The exchange of the step; header and body values would be base64 in
    // ActualData elements.
    Write(dir / "data" / "snapshot_1.xml",
          "<HTTPSnapshot id=\"1\"><HTTPTask id=\"1\" origin=\"Primary\" frame=\"1\" "
          "url=\"https://loans.example.org/c?card=1001\"><HTTPRequest method=\"GET\">"
          "</HTTPRequest></HTTPTask></HTTPSnapshot>");

    FolderMessages messages;  // what the folder's files had to say
    CScriptFolder folder;
    folder.Open(dir.string(), messages);
    std::printf("actions:");
    for (const FolderAction& action : folder.InspectionOrder())
        std::printf(" %s (%s)", action.name.c_str(), action.file.c_str());
    std::printf(", %u iteration(s)\n", folder.Iterations());

    // Parameters: loaded once and shared; each user gets its own context.
    CParameterSet parameters;
    parameters.Load(folder.ParameterPath(), folder.Dir(), messages);
    CParameterContext user3(parameters, 3, /*seed*/ 7);
    user3.BeginIteration(2);
    const std::string url = user3.Substitute("https://loans.example.org/c?card={Card}");
    std::printf("user 3, iteration 2: %s\n", url.c_str());

    // The recording: the request that was sent for snapshot t1.
    CRecording recording;
    recording.Open(folder.DataDir(), messages);
    std::optional<HttpExchange> recorded = recording.PrimaryRequest("t1.inf", messages);
    if (!recorded)
        return 1;
    // A planned request keeps its references: they match the recorded text.
    RequestComparison comparison =
        CompareRequests({"GET", "https://loans.example.org/c?card={Card}", "", ""},
                        {recorded->method, recorded->url, recorded->requestBody, ""});
    std::printf("recorded: %s, {%s} was \"%s\"\n", comparison.same ? "the same" : "different",
                comparison.references.front().first.c_str(),
                comparison.references.front().second.c_str());
    for (const FolderMessage& message : messages)
        std::printf("%s\n", message.Format().c_str());
    fs::remove_all(dir);
    return url == "https://loans.example.org/c?card=1002" && comparison.same &&
                   comparison.references.front().second == "1001"
               ? 0
               : 1;
}
