// Talks to a mailboxd as its users do, with a client that shares no code with it. The URL of the
// mailbox endpoint is the one argument; exits with 0 when every answer was right.
'use strict';

const assert = require('node:assert/strict');
const ews = require('ews-javascript-api');

const {
  Appointment, AppointmentSchema, BasePropertySet, BodyType, CalendarView, ConflictResolutionMode,
  ConnectingIdType, Contact, ContactGroup, ContactSchema, DateTime, DayOfTheWeek,
  DefaultExtendedPropertySet, DeleteMode, EmailAddressKey, EmailMessage, ExchangeService,
  ExchangeVersion, ExtendedPropertyDefinition, Folder, FolderId, FolderView, GroupMember,
  ImpersonatedUserId, Importance, Item, ItemSchema, ItemView, Mailbox, MapiPropertyType,
  MessageBody, MimeContent, PhoneNumberKey, PhysicalAddressEntry, PhysicalAddressKey, PropertySet,
  Recurrence, SearchFilter, SendCancellationsMode, SendInvitationsMode,
  SendInvitationsOrCancellationsMode, SortDirection, Task, TaskSchema, TaskStatus, Uri,
  WebCredentials, WellKnownFolderName,
} = ews;

const service = new ExchangeService(ExchangeVersion.Exchange2013_SP1);
service.Url = new Uri(process.argv[2]);
service.Credentials = new WebCredentials('user@example.com', 'secret');
const full = () => new PropertySet(BasePropertySet.FirstClassProperties);

async function folders() {
  const folder = new Folder(service);
  folder.DisplayName = 'Projects';
  await folder.Save(WellKnownFolderName.Inbox);
  const found = await service.FindFolders(WellKnownFolderName.Inbox,
    new SearchFilter.ContainsSubstring(ews.FolderSchema.DisplayName, 'roject'), new FolderView(10));
  assert.equal(found.Folders.length, 1);
  assert.equal(found.Folders[0].DisplayName, 'Projects');
  assert.equal(found.Folders[0].Id.UniqueId, folder.Id.UniqueId);
  const again = new Folder(service);
  again.DisplayName = 'PROJECTS';
  await assert.rejects(again.Save(WellKnownFolderName.Inbox), /already exists/);
  return folder.Id;
}

async function mails(folderId) {
  const key = new ExtendedPropertyDefinition(DefaultExtendedPropertySet.PublicStrings, 'Key',
    MapiPropertyType.String);
  const mail = new EmailMessage(service);
  mail.Subject = 'Plan and budget';
  mail.Body = new MessageBody(BodyType.Text, 'Line one');
  mail.Importance = Importance.High;
  mail.Categories.Add('Work');
  mail.ToRecipients.Add('ann@example.com');
  mail.SetExtendedProperty(key, 'k1');
  mail.Attachments.AddFileAttachment('a.txt', Buffer.from('attached').toString('base64'));
  await mail.Save(folderId);
  const other = new EmailMessage(service);
  other.Subject = 'Another';
  await other.Save(folderId);

  const set = full();
  set.Add(key);
  const bound = await EmailMessage.Bind(service, mail.Id, set);
  assert.equal(bound.Subject, 'Plan and budget');
  assert.equal(bound.Importance, Importance.High);
  assert.equal(bound.Categories.GetEnumerator()[0], 'Work');
  assert.equal(bound.ToRecipients.GetEnumerator()[0].Address, 'ann@example.com');
  assert.equal(bound.ExtendedProperties.GetEnumerator()[0].Value, 'k1');
  assert.equal(bound.Attachments.Count, 1);
  await bound.Attachments.GetEnumerator()[0].Load();
  assert.equal(Buffer.from(bound.Attachments.GetEnumerator()[0].Base64Content, 'base64').toString(),
    'attached');

  const byKey = await service.FindItems(folderId, new SearchFilter.IsEqualTo(key, 'K1'),
    new ItemView(10));
  assert.deepEqual(byKey.Items.map((item) => item.Id.UniqueId), [mail.Id.UniqueId]);
  const view = new ItemView(1, 1);
  view.OrderBy.Add(ItemSchema.Subject, SortDirection.Ascending);
  const second = await service.FindItems(folderId, view);
  assert.equal(second.TotalCount, 2);
  assert.equal(second.Items[0].Subject, 'Plan and budget');

  bound.Subject = 'Plan';
  await bound.Update(ConflictResolutionMode.AlwaysOverwrite);
  assert.equal((await Item.Bind(service, mail.Id, full())).Subject, 'Plan');
  const moved = await bound.Move(WellKnownFolderName.Drafts);
  assert.equal((await service.FindItems(WellKnownFolderName.Drafts, new ItemView(5))).TotalCount, 1);
  await moved.Delete(DeleteMode.HardDelete);
  await assert.rejects(Item.Bind(service, moved.Id, full()), /not found/);
}

async function mimeAndAttachedItems(folderId) {
  const mime = 'Subject: From MIME\r\nFrom: ann@example.com\r\nMIME-Version: 1.0\r\n' +
    'Content-Type: multipart/mixed; boundary=b\r\n\r\n--b\r\nContent-Type: text/plain\r\n\r\n' +
    'gr\u00fcn\r\n--b\r\nContent-Type: text/csv\r\nContent-Disposition: attachment; filename=t.csv' +
    '\r\n\r\n1,2\r\n--b--\r\n';
  const mail = new EmailMessage(service);
  mail.MimeContent = new MimeContent('UTF-8', Buffer.from(mime).toString('base64'));
  mail.IsRead = true;
  await mail.Save(folderId);
  const set = full();
  set.Add(ItemSchema.MimeContent);
  const bound = await EmailMessage.Bind(service, mail.Id, set);
  assert.equal(Buffer.from(bound.MimeContent.Content, 'base64').toString(), mime);
  assert.equal(bound.Subject, 'From MIME');
  assert.equal(bound.From.Address, 'ann@example.com');
  assert.ok(bound.IsRead && bound.HasAttachments);
  const part = bound.Attachments.GetEnumerator()[0];
  await part.Load();
  assert.equal(part.Name, 't.csv');
  assert.equal(Buffer.from(part.Base64Content, 'base64').toString(), '1,2');

  const outer = new EmailMessage(service);
  outer.Subject = 'With another inside';
  const picture = outer.Attachments.AddFileAttachment('p.png', Buffer.from('png').toString('base64'));
  picture.ContentId = 'p1';
  picture.IsInline = true;
  const inner = outer.Attachments.AddItemAttachment(EmailMessage, 'Message');
  inner.Name = 'inside';
  inner.Item.Subject = 'Inside';
  inner.Item.Body = new MessageBody(BodyType.Text, 'within');
  await outer.Save(folderId);
  const [file, item] = (await EmailMessage.Bind(service, outer.Id, full())).Attachments.GetEnumerator();
  assert.ok(file.IsInline && file.ContentId === 'p1');
  item._setItem(new EmailMessage(service));  // this client looks at it before it asks for it
  await item.Load();
  assert.equal(item.Item.Subject, 'Inside');
  assert.equal(item.Item.Body.Text, 'within');

  outer.Attachments.AddFileAttachment('late.txt', Buffer.from('late').toString('base64'));
  await outer.Update(ConflictResolutionMode.AlwaysOverwrite);  // one CreateAttachment
  assert.deepEqual((await EmailMessage.Bind(service, outer.Id, full())).Attachments.GetEnumerator()
    .map((one) => one.Name).sort(), ['inside', 'late.txt', 'p.png']);
  await bound.Delete(DeleteMode.MoveToDeletedItems);
  const bin = await Folder.Bind(service, WellKnownFolderName.DeletedItems);
  assert.equal(Number(bin.TotalCount), 1);
}

async function otherMailboxes() {
  service.ImpersonatedUserId = new ImpersonatedUserId(ConnectingIdType.SmtpAddress,
    'other@example.com');
  const mail = new EmailMessage(service);
  mail.Subject = 'Elsewhere';
  await mail.Save(WellKnownFolderName.Inbox);
  service.ImpersonatedUserId = null;
  const theirs = new FolderId(WellKnownFolderName.Inbox, new Mailbox('other@example.com'));
  const found = await service.FindItems(theirs, new ItemView(5));
  assert.deepEqual(found.Items.map((one) => one.Subject), ['Elsewhere']);
  assert.equal((await service.FindItems(WellKnownFolderName.Inbox, new ItemView(5))).TotalCount, 0);
}

async function meetings() {
  const meeting = new Appointment(service);
  meeting.Subject = 'Review';
  meeting.Start = new DateTime('2024-03-11T10:00:00Z');
  meeting.End = new DateTime('2024-03-11T11:30:00Z');
  // This client sends text as it stands: no markup in it.
  meeting.Location = 'Room 1, garden';
  meeting.Recurrence = new Recurrence.WeeklyPattern(new DateTime('2024-03-11T10:00:00Z'), 2,
    [DayOfTheWeek.Monday, DayOfTheWeek.Friday]);
  meeting.Recurrence.NumberOfOccurrences = 10;
  await meeting.Save(WellKnownFolderName.Calendar, SendInvitationsMode.SendToNone);
  meeting.RequiredAttendees.Add('bob@example.com');
  await meeting.Update(ConflictResolutionMode.AlwaysOverwrite,
    SendInvitationsOrCancellationsMode.SendToNone);
  const bound = await Appointment.Bind(service, meeting.Id, full());
  assert.equal(bound.Location, 'Room 1, garden');
  assert.equal(bound.Start.ToISOString(), '2024-03-11T10:00:00.000Z');
  assert.equal(bound.RequiredAttendees.GetEnumerator()[0].Address, 'bob@example.com');
  // Numbers of a recurrence are texts there.
  assert.equal(Number(bound.Recurrence.NumberOfOccurrences), 10);
  assert.equal(Number(bound.Recurrence.Interval), 2);
  assert.ok(bound.IsRecurring && bound.IsMeeting);
  const found = await service.FindItems(WellKnownFolderName.Calendar,
    new SearchFilter.IsGreaterThan(AppointmentSchema.Start, new DateTime('2024-03-11T09:00:00Z')),
    new ItemView(10));
  assert.equal(found.TotalCount, 1);
  // The third of its days is moved, the second is not.
  const third = await Appointment.BindToOccurrence(service, meeting.Id, 3);
  assert.equal(third.Start.ToISOString(), '2024-03-25T10:00:00.000Z');
  third.Subject = 'Review, later';
  third.Start = new DateTime('2024-03-26T12:00:00Z');
  third.End = new DateTime('2024-03-26T13:00:00Z');
  await third.Update(ConflictResolutionMode.AlwaysOverwrite,
    SendInvitationsOrCancellationsMode.SendToNone);
  const second = await Appointment.BindToOccurrence(service, meeting.Id, 2);
  await second.Delete(DeleteMode.HardDelete, SendCancellationsMode.SendToNone);
  await assert.rejects(Appointment.BindToOccurrence(service, meeting.Id, 2), /deleted/);
  const shown = await service.FindAppointments(WellKnownFolderName.Calendar,
    new CalendarView(new DateTime('2024-03-01T00:00:00Z'), new DateTime('2024-04-01T00:00:00Z')));
  assert.deepEqual(shown.Items.map((one) => `${one.Start.ToISOString()} ${one.Subject}`), [
    '2024-03-11T10:00:00.000Z Review', '2024-03-26T12:00:00.000Z Review, later',
    '2024-03-29T10:00:00.000Z Review']);
  const lost = new Appointment(service);
  lost.Start = new DateTime('2024-03-11T10:00:00Z');
  await assert.rejects(lost.Save(WellKnownFolderName.Inbox, SendInvitationsMode.SendToNone),
    /non-calendar folder/);
}

async function tasks() {
  const task = new Task(service);
  task.Subject = 'Write it';
  task.Status = TaskStatus.InProgress;
  task.DueDate = new DateTime('2024-03-15T00:00:00Z');
  task.PercentComplete = 12.5;
  await task.Save(WellKnownFolderName.Tasks);
  const bound = await Task.Bind(service, task.Id, full());
  assert.equal(bound.Status, TaskStatus.InProgress);
  assert.equal(bound.PercentComplete, 12.5);
  assert.equal(bound.DueDate.ToISOString(), '2024-03-15T00:00:00.000Z');
  assert.equal(bound.IsComplete, false);
  const found = await service.FindItems(WellKnownFolderName.Tasks,
    new SearchFilter.IsEqualTo(TaskSchema.Status, 'InProgress'), new ItemView(10));
  assert.equal(found.TotalCount, 1);
}

async function people() {
  const contact = new Contact(service);
  contact.GivenName = 'Marie';
  contact.Surname = 'Curie';
  contact.DisplayName = 'Marie Curie';
  contact.EmailAddresses._setItem(EmailAddressKey.EmailAddress1,
    new ews.EmailAddress('marie@example.com'));
  contact.PhoneNumbers._setItem(PhoneNumberKey.HomePhone, '+33 1');
  const address = new PhysicalAddressEntry();
  address.Street = '1 rue Pierre';
  address.City = 'Paris';
  contact.PhysicalAddresses._setItem(PhysicalAddressKey.Business, address);
  await contact.Save(WellKnownFolderName.Contacts);
  let bound = await Contact.Bind(service, contact.Id, full());
  assert.equal(bound.Subject, 'Marie Curie');
  assert.equal(bound.PhoneNumbers._getItem(PhoneNumberKey.HomePhone), '+33 1');
  assert.equal(bound.EmailAddresses._getItem(EmailAddressKey.EmailAddress1).Address,
    'marie@example.com');
  assert.equal(bound.PhysicalAddresses._getItem(PhysicalAddressKey.Business).City, 'Paris');
  bound.PhoneNumbers._setItem(PhoneNumberKey.MobilePhone, '+33 6');
  await bound.Update(ConflictResolutionMode.AlwaysOverwrite);
  bound = await Contact.Bind(service, contact.Id, full());
  assert.equal(bound.PhoneNumbers._getItem(PhoneNumberKey.MobilePhone), '+33 6');
  assert.equal(bound.PhoneNumbers._getItem(PhoneNumberKey.HomePhone), '+33 1');
  const found = await service.FindItems(WellKnownFolderName.Contacts,
    new SearchFilter.IsEqualTo(ContactSchema.Surname, 'curie'), new ItemView(10));
  assert.equal(found.TotalCount, 1);

  const group = new ContactGroup(service);
  group.DisplayName = 'Team';
  group.Members.Add(new GroupMember('ann@example.com'));
  group.Members.Add(new GroupMember('bob@example.com'));
  await group.Save(WellKnownFolderName.Contacts);
  const back = await ContactGroup.Bind(service, group.Id, full());
  assert.deepEqual(back.Members.GetEnumerator().map((one) => one.AddressInformation.Address),
    ['ann@example.com', 'bob@example.com']);
}

async function main() {
  const projects = await folders();
  await mails(projects);
  await mimeAndAttachedItems(projects);
  await otherMailboxes();
  await meetings();
  await tasks();
  await people();
}

main().then(() => console.log('every answer was right'), (error) => {
  console.error(error);
  process.exit(1);
});
