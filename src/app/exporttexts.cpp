#include "app/exporttexts.h"

std::string ExportSummary(std::size_t ExportedCount, std::size_t Count, const std::string& Stop)
{
    return "Exported " + std::to_string(ExportedCount) + " of " + std::to_string(Count) + " clips" +
           (Stop.empty() ? "." : ", then " + Stop + '.');
}
