#include "LumRecordFormat.h"

ELumRecordForm LumRecordFormOf(std::string_view path)
{
    for (std::string_view suffix : {".jsonl", ".ndjson", ".json"})
        if (path.size() >= suffix.size() && path.substr(path.size() - suffix.size()) == suffix)
            return ELumRecordForm::JSON_LINES;
    return ELumRecordForm::CSV;
}
