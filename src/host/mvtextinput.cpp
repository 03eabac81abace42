#include "host/mvtextinput.h"

void MvTextInput::SetText(const std::string& NewText, bool bQuiet)
{
    Text = NewText;
    if (!bQuiet)
    {
        Changed.emit(Text);
    }
}
