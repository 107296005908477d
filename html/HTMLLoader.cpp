#include "webstep/html/HTMLLoader.h"

#include <atomic>

namespace {
std::atomic<HTMLLoaderFactory> theLoaderFactory{&CreateDefaultHTMLLoader};
}

HTMLLoader::~HTMLLoader() = default;

int HTMLLoader::GetOuterHTML(char** text, unsigned long* length) {
    if (text != nullptr) {
        *text = nullptr;
    }
    if (length != nullptr) {
        *length = 0;
    }
    return -1;
}

void HTMLLoader::OnChange() {}

int CDefaultHTMLLoader::GetTranslatedHTML(char** text, unsigned long* length, bool) {
    if (text != nullptr) {
        *text = nullptr;
    }
    if (length != nullptr) {
        *length = 0;
    }
    return -1;
}

void CDefaultHTMLLoader::FreeTranslatedHTML(char*) {}

HTMLLoader* CreateDefaultHTMLLoader() {
    return new CDefaultHTMLLoader();
}

HTMLLoaderFactory SetHTMLLoaderFactory(HTMLLoaderFactory factory) {
    return theLoaderFactory.exchange(factory != nullptr ? factory : &CreateDefaultHTMLLoader);
}

HTMLLoaderFactory GetHTMLLoaderFactory() {
    return theLoaderFactory.load();
}

HTMLLoader* CreateHTMLLoader() {
    return theLoaderFactory.load()();
}
