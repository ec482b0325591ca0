#include "startup/RunnerMain.h"

#include "config/FileUtils.h"
#include "platform/Messages.h"
#include "startup/ConsoleMode.h"
#include "startup/Program.h"

namespace torvik {

void ShowConsoleUsage(ConsoleMode& console) {
  console.OpenConsole("Torv");
  console.ConsoleWrite("Usage Torv : Configurate and Execute DTS Packages\r\n\r\n");
  console.ConsoleWrite("      Torv [ -configfile <Torv Configuration File>");
  console.ConsoleWrite("Press enter to exit\r\n");
  console.ConsoleReadLine();
  console.CloseConsole();
}

void Main(Program& program, std::string_view argumentText,
          const std::function<std::unique_ptr<MainForm>(Program&)>& newForm) {
  CommandLineSettings& settings = program.commandLine;
  SplitCommandLine(argumentText, settings);
  if (settings.HelpRequested) {
    ConsoleMode console(program.platform.console);
    ShowConsoleUsage(console);
    return;
  }
  if (!settings.ConfigFile.empty() && !FileExists(program.platform.files, settings.ConfigFile)) {
    program.platform.messages.Box("Error: Can't find Config File " + settings.ConfigFile,
                                  "Torv Error", BoxIcon::Critical);
    return;
  }
  program.form = newForm(program);
  MainForm& form = *program.form;
  program.log.SetForm(form);
  form.TorvConfigFile = settings.ConfigFile;
  form.QXJobConfigFile = settings.QXJobConfigFile;
  form.StatusFile = settings.StatusFile;
  form.LogFile = settings.LogFile;
  form.StartInConfigMode = settings.StartInConfigMode;
  form.SetStartInQXJobConfigMode(settings.StartInQXJobConfigMode);
  form.Show();
  if (!form.StartInConfigMode) form.Run();
}

}  // namespace torvik
