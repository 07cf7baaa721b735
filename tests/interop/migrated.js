// Prints what a migration has filled a mailbox with, as a client sees it that shares no code with
// it: days with their occurrences, people, tasks. The URL of the mailbox endpoint, its user, and the
// days to look at ("2024-03-01..2024-04-20") are the arguments.
'use strict';

const ews = require('ews-javascript-api');

const {
  Appointment, BasePropertySet, CalendarFolder, CalendarView, Contact, ContactGroup, ContactSchema,
  ContactsFolder, DateTime, EmailAddressKey, ExchangeService, ExchangeVersion, FolderTraversal,
  FolderView, ItemView, LegacyFreeBusyStatus, PhoneNumberKey, PropertySet, Sensitivity, Task,
  TasksFolder, Uri, WebCredentials, WellKnownFolderName,
} = ews;

const [url, user, ...spans] = process.argv.slice(2);
const service = new ExchangeService(ExchangeVersion.Exchange2013_SP1);
service.Url = new Uri(url);
service.Credentials = new WebCredentials(user, 'secret');
const full = () => new PropertySet(BasePropertySet.FirstClassProperties);

// That one and those of its kind below it.
async function foldersBelow(root, kind) {
  const view = new FolderView(100);
  view.Traversal = FolderTraversal.Deep;
  const found = await service.FindFolders(root, view);
  const same = found.Folders.filter((folder) => folder instanceof kind);
  return [root, ...same.map((folder) => folder.Id)];
}

const minute = (moment) => moment.ToISOString().slice(0, 16).replace('T', ' ');
const day = (moment) => moment.ToISOString().slice(0, 10);
const addresses = (people) => people.GetEnumerator().map((one) => one.Address);

async function occurrences(folder) {
  const lines = [];
  for (const span of spans) {
    const [from, to] = span.split('..').map((one) => new DateTime(`${one}T00:00:00Z`));
    const found = await service.FindAppointments(folder, new CalendarView(from, to));
    for (const one of found.Items) {
      const time = one.IsAllDayEvent ? `${day(one.Start)} to ${day(one.End)}`
        : `${minute(one.Start)} to ${minute(one.End).slice(11)}`;
      lines.push(`${time} ${one.Subject}${one.Location ? `, ${one.Location}` : ''}`);
    }
  }
  return lines;
}

async function meetings(folder) {
  const lines = [];
  for (const { Id } of (await service.FindItems(folder, new ItemView(100))).Items) {
    const one = await Appointment.Bind(service, Id, full());
    const parts = [one.Subject, LegacyFreeBusyStatus[one.LegacyFreeBusyStatus]];
    if (one.Sensitivity !== Sensitivity.Normal) parts.push(Sensitivity[one.Sensitivity]);
    if (one.IsReminderSet) parts.push(`${one.ReminderMinutesBeforeStart} minutes before`);
    parts.push(...one.Categories.GetEnumerator(), ...addresses(one.RequiredAttendees),
      ...addresses(one.OptionalAttendees).map((address) => `perhaps ${address}`));
    lines.push(parts.join('; '));
  }
  return lines;
}

async function tasks(folder) {
  const lines = [];
  for (const { Id } of (await service.FindItems(folder, new ItemView(100))).Items) {
    const one = await Task.Bind(service, Id, full());
    const due = one.DueDate ? `due ${day(one.DueDate)}` : 'never due';
    lines.push(`${one.Subject}: ${due}, ${one.PercentComplete} %`);
  }
  return lines;
}

async function people(folder) {
  const lines = [];
  for (const item of (await service.FindItems(folder, new ItemView(100))).Items) {
    if (item instanceof ContactGroup) {
      const group = await ContactGroup.Bind(service, item.Id, full());
      const members = group.Members.GetEnumerator().map((one) => one.AddressInformation.Address);
      lines.push([group.DisplayName, ...members].join('; '));
      continue;
    }
    const one = await Contact.Bind(service, item.Id, full());
    const parts = [one.DisplayName];
    const mail = { outValue: null };
    if (one.EmailAddresses.TryGetValue(EmailAddressKey.EmailAddress1, mail)) {
      parts.push(mail.outValue.Address);
    }
    const phone = { outValue: null };
    if (one.PhoneNumbers.TryGetValue(PhoneNumberKey.MobilePhone, phone)) parts.push(phone.outValue);
    const birthday = { outValue: null };
    if (one.TryGetProperty(ContactSchema.Birthday, birthday)) parts.push(day(birthday.outValue));
    if (one.HasPicture) parts.push('a photo');
    lines.push(parts.join('; '));
  }
  return lines;
}

async function print(title, root, kind, read) {
  const lines = [];
  for (const folder of await foldersBelow(root, kind)) lines.push(...await read(folder));
  console.log([`${title}:`, ...lines.sort()].join('\n'));
}

async function main() {
  await print('Days', WellKnownFolderName.Calendar, CalendarFolder, occurrences);
  await print('Meetings', WellKnownFolderName.Calendar, CalendarFolder, meetings);
  await print('Tasks', WellKnownFolderName.Tasks, TasksFolder, tasks);
  await print('People', WellKnownFolderName.MsgFolderRoot, ContactsFolder, people);
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
