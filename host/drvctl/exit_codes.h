#ifndef DRVCTL_EXIT_CODES_H
#define DRVCTL_EXIT_CODES_H

// What drvctl's exit status tells a script.
enum ExitCode {
    ExitSuccess = 0,
    ExitDriverFailure = 1, // the driver reported an error (its text is printed)
    ExitUsage = 2,         // bad command, option, address or value
    ExitSetup = 3,         // the plug-in could not be loaded, the device opened, or the line was lost
    ExitInterrupted = 130, // Ctrl-C before the command was done (as a shell reports SIGINT)
};

#endif
