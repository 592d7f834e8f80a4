// A program that finds no zeldata.dll: it gets its error box, which must not keep it where there is no display, and can
// go on.
#include "zelmessage.h"

int main() {
    CZELMessage::init();
    CZELMessage message(0, 0);
    message.createStruct();
    const bool asPromised =
        CZELMessage::getVormaZelData() == nullptr && message.provider == nullptr && message.message == nullptr;
    CZELMessage::terminate();
    return asPromised ? 0 : 1;
}
