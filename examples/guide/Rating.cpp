#include "host/FourD.h"
#include "platform/Toolbox.h"
#include "PluginVersion.h"
#include "shell/FourDPlug.h"
#include "ui/AreaManager.h"
#include "ui/Dialog.h"

#include <iterator>

namespace {

constexpr long MostStars = 5;

/// "***--" for 3, as a Pascal string.
void WriteStars(long rating, unsigned char* text) {
    text[0] = MostStars;
    for (long star = 1; star <= MostStars; ++star) {
        text[star] = star <= rating ? '*' : '-';
    }
}

void Stars(CXParam* params, CXResult* result) {
    Str255 text;
    WriteStars(params[0].GetLong(), text);
    result->SetString(text);
}

constexpr short Messages = 15000; // the number of the string list
constexpr short AtLeastOneStar = 1;

class RatingDialog : public SXDialog {
  public:
    explicit RatingDialog(long itsRating) : SXDialog("Rating", 0), rating(itsRating) {}

    void PostLoadData() override {
        FourDDialog::SetLongVar(dialog, "rating", rating);
        FourDDialog::SetNumVarMinMax(dialog, "rating", 0, MostStars);
    }
    void HandleItemHit(char*, unsigned char* done, unsigned char* cancelled) override {
        if (*done != 0 && *cancelled == 0 && FourDDialog::GetLongVar(dialog, "rating") == 0) {
            FourD::AlertV6(Messages, AtLeastOneStar);
            *done = 0;
        }
    }
    void UnloadData() override { rating = FourDDialog::GetLongVar(dialog, "rating"); }
    long rating;
};

void AskForRating(CXParam* params, CXResult* result) {
    RatingDialog dialog(params[1].GetLong());
    const bool accepted =
        dialog.Open(nullptr, params[0].GetStringPtr(), 0) && dialog.EventLoop(nullptr);
    if (accepted) {
        params[1].SetLong(dialog.rating);
    }
    result->SetBoolean(accepted ? 1 : 0);
}

constexpr long StarWidth = 10; // pixels

/// Shows a rating as stars; a click on one of them changes it.
class StarsArea : public CXArea {
  public:
    void DoDraw() override {
        Str255 text;
        WriteStars(rating, text);
        EraseRect(&areaRect);
        MoveT(areaRect.left, static_cast<short>(areaRect.bottom - 4));
        DrawString(text);
        CXArea::DoDraw(); // notes that it is drawn
    }

    bool DoMouseDown(EventRecord* event) override {
        rating = (event->where.h - areaRect.left) / StarWidth + 1;
        DoInvalidate(); // the host then asks to draw
        return true;
    }

  private:
    long rating = 0;
};

class StarsManager : public CXAreaManager {
  public:
    CXArea* CreateArea() override { return new StarsArea; }
};

StarsManager starsManager;

void StarsAreaEvent(CXParam* params, CXResult*) {
    DispatchAreaCall(starsManager, params);
}

constexpr CommandEntry Commands[] = {
    {"Stars", "(long rating) -> string", Stars},
    {"Ask for rating", "(string title; &long rating) -> boolean", AskForRating},
    {"Stars area", "area", StarsAreaEvent},
};

PlugInfo plugInfo = {
    .reserved = 0,
    .recordVersion = 1,
    .recordSize = sizeof(PlugInfo),
    .productName = PluginName,
    .creator = 0x52617465, // 'Rate'
    .version = PluginVersion,
    .resourceID = 0,
    .resourceFile = 0,
    .spare = 0,
    .commandCount = std::size(Commands),
    .commands = Commands,
};

class Rating : public FourDPlug {
  public:
    Rating() : FourDPlug(&plugInfo) {}
    bool TrackClientsOnServer() override { return false; }
};

Rating rating;

} // namespace

FourDPlug* gFourDPlug = &rating;
